// Loaded before the C library into a controller whose stores are tried: makes one of its calls fail, or all from one
// on, and writes down what it does with the files of one folder.
//
//   CALLS_FOLDER   absolute; only calls that concern it count, and accept and send
//   CALLS_FAIL     which fail: names separated by commas, or "any"; empty: none
//   CALLS_NUMBER   the how manieth of them
//   CALLS_ERROR    with which errno
//   CALLS_REST     "1": all that follow fail too
//   CALLS_MALLOC   the how manieth piece of memory is refused
//   CALLS_LOG      one line a call: name, result, path, second path or offset, bytes in hexadecimal
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
constexpr int kMostDescriptors = 4096;

std::string setting(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

struct State
{
    const std::string folder = setting("CALLS_FOLDER");
    const std::string fail = "," + setting("CALLS_FAIL") + ",";
    const int number = std::atoi(setting("CALLS_NUMBER").c_str());
    const int error = std::atoi(setting("CALLS_ERROR").c_str());
    const bool rest = setting("CALLS_REST") == "1";
    const int log = setting("CALLS_LOG").empty()
                        ? -1
                        : static_cast<int>(::syscall(SYS_openat, AT_FDCWD, setting("CALLS_LOG").c_str(),
                                                     O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    int count = 0;
    std::string paths[kMostDescriptors]; // of open files in the folder
    std::mutex mutex;                    // guards both, and keeps the log in the order of the calls
};

State &state()
{
    static State *const it = new State; // outlives every thread
    return *it;
}

std::string absolute(const char *path)
{
    if (*path == '/') {
        return path;
    }
    char here[4096];
    return std::string(::getcwd(here, sizeof here) ? here : "") + '/' + path;
}

bool concerns(const std::string &path)
{
    const std::string &folder = state().folder;
    return !folder.empty() && path.compare(0, folder.size(), folder) == 0;
}

std::string pathOf(int descriptor)
{
    return descriptor >= 0 && descriptor < kMostDescriptors ? state().paths[descriptor] : std::string();
}

bool fails(const char *name)
{
    State &now = state();
    const bool counts = now.fail == ",any," || now.fail.find(std::string(",") + name + ",") != std::string::npos;
    if (!counts || (++now.count != now.number && !(now.rest && now.count > now.number))) {
        return false;
    }
    errno = now.error;
    return true;
}

void note(const char *name, long result, const std::string &path, const std::string &more = {},
          const void *bytes = nullptr, size_t size = 0)
{
    const int saved = errno;
    if (state().log >= 0) {
        std::string line = std::string(name) + '\t' + std::to_string(result) + '\t' + path + '\t' + more + '\t';
        for (size_t i = 0; i < size; ++i) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", static_cast<const unsigned char *>(bytes)[i]);
            line += digits;
        }
        line += '\n';
        ::syscall(SYS_write, state().log, line.data(), line.size());
    }
    errno = saved;
}

/// A call about a path or an open file; call() makes it.
template <class Call>
auto attempt(const char *name, const std::string &path, Call call, const std::string &more = {},
             const void *bytes = nullptr) -> decltype(call())
{
    const std::lock_guard lock(state().mutex);
    const auto result = fails(name) ? static_cast<decltype(call())>(-1) : call();
    const bool isPart = bytes && result >= 0; // of what was to be written
    note(name, static_cast<long>(result), path, more, bytes, isPart ? static_cast<size_t>(result) : 0);
    return result;
}

int openAt(int directory, const char *name, int flags, mode_t mode)
{
    const std::string path = absolute(name);
    const auto call = [&] { return static_cast<int>(::syscall(SYS_openat, directory, name, flags, mode)); };
    if (directory != AT_FDCWD || !concerns(path)) {
        return call();
    }
    const char *kind = (flags & O_TMPFILE) == O_TMPFILE ? "open" : (flags & O_CREAT) != 0 ? "create" : "open";
    struct stat there
    {};
    const bool isNew = ::stat(name, &there) != 0;
    const int descriptor = attempt(kind, path, call, isNew ? "new" : (flags & O_TRUNC) != 0 ? "empty" : "");
    if (descriptor >= 0 && descriptor < kMostDescriptors) {
        const std::lock_guard lock(state().mutex);
        state().paths[descriptor] = path;
    }
    return descriptor;
}

mode_t modeIn(int flags, va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(arguments, unsigned)) : 0;
}
} // namespace

#define OPEN(name)                                                                                                     \
    extern "C" int name(const char *path, int flags, ...)                                                              \
    {                                                                                                                  \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = modeIn(flags, arguments);                                                                  \
        va_end(arguments);                                                                                             \
        return openAt(AT_FDCWD, path, flags, mode);                                                                    \
    }
#define OPENAT(name)                                                                                                   \
    extern "C" int name(int directory, const char *path, int flags, ...)                                               \
    {                                                                                                                  \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = modeIn(flags, arguments);                                                                  \
        va_end(arguments);                                                                                             \
        return openAt(directory, path, flags, mode);                                                                   \
    }
OPEN(open)
OPEN(open64)
OPENAT(openat)
OPENAT(openat64)

extern "C" int close(int descriptor)
{
    if (descriptor >= 0 && descriptor < kMostDescriptors) {
        const std::lock_guard lock(state().mutex);
        state().paths[descriptor].clear();
    }
    return static_cast<int>(::syscall(SYS_close, descriptor));
}

extern "C" ssize_t write(int descriptor, const void *bytes, size_t size)
{
    const auto call = [&] { return static_cast<ssize_t>(::syscall(SYS_write, descriptor, bytes, size)); };
    const std::string path = pathOf(descriptor);
    if (path.empty()) {
        return call();
    }
    return attempt("write", path, call, std::to_string(::lseek(descriptor, 0, SEEK_CUR)), bytes);
}

extern "C" ssize_t read(int descriptor, void *bytes, size_t size)
{
    const auto call = [&] { return static_cast<ssize_t>(::syscall(SYS_read, descriptor, bytes, size)); };
    const std::string path = pathOf(descriptor);
    return path.empty() ? call() : attempt("read", path, call);
}

#define ABOUT_DESCRIPTOR(name, number, parameters, ...)                                                                \
    extern "C" int name parameters                                                                                     \
    {                                                                                                                  \
        const auto call = [&] { return static_cast<int>(::syscall(number, __VA_ARGS__)); };                            \
        const std::string path = pathOf(descriptor);                                                                   \
        return path.empty() ? call() : attempt(#name, path, call);                                                     \
    }
ABOUT_DESCRIPTOR(fsync, SYS_fsync, (int descriptor), descriptor)
ABOUT_DESCRIPTOR(fchmod, SYS_fchmod, (int descriptor, mode_t mode), descriptor, mode)
ABOUT_DESCRIPTOR(syncfs, SYS_syncfs, (int descriptor), descriptor)
ABOUT_DESCRIPTOR(fallocate64, SYS_fallocate, (int descriptor, int mode, off64_t from, off64_t size), descriptor, mode,
                 from, size)

#define ABOUT_PATHS(name, number, parameters, from, to, ...)                                                           \
    extern "C" int name parameters                                                                                     \
    {                                                                                                                  \
        const auto call = [&] { return static_cast<int>(::syscall(number, __VA_ARGS__)); };                            \
        const std::string first = absolute(from);                                                                      \
        return concerns(first) ? attempt(#name, first, call, to) : call();                                             \
    }
ABOUT_PATHS(rename, SYS_rename, (const char *from, const char *to), from, absolute(to), from, to)
ABOUT_PATHS(link, SYS_link, (const char *from, const char *to), from, absolute(to), from, to)
ABOUT_PATHS(unlink, SYS_unlink, (const char *path), path, "", path)
ABOUT_PATHS(mkdir, SYS_mkdir, (const char *path, mode_t mode), path, "", path, mode)
ABOUT_PATHS(renameat2, SYS_renameat2,
            (int directory, const char *from, int toDirectory, const char *to, unsigned flags), from, absolute(to),
            directory, from, toDirectory, to, flags)

extern "C" int accept4(int descriptor, sockaddr *address, socklen_t *size, int flags)
{
    const auto call = [&] { return static_cast<int>(::syscall(SYS_accept4, descriptor, address, size, flags)); };
    if (state().fail.find(",accept,") == std::string::npos) {
        return call();
    }
    const std::lock_guard lock(state().mutex);
    return fails("accept") ? -1 : call();
}

extern "C" ssize_t send(int descriptor, const void *bytes, size_t size, int flags)
{
    if (state().log >= 0) {
        const std::lock_guard lock(state().mutex); // before it leaves: what is told here is known outside
        note("send", 0, "", "", bytes, size);
    }
    return static_cast<ssize_t>(::syscall(SYS_sendto, descriptor, bytes, size, flags, nullptr, 0));
}

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_realloc(void *memory, size_t size);

namespace {
/// Asks for no memory itself.
bool isRefused()
{
    static const char *const setting = std::getenv("CALLS_MALLOC");
    static const long number = setting ? std::atol(setting) : 0;
    static std::atomic<long> count{ 0 };
    const bool isIt = number > 0 && ++count == number;
    errno = isIt ? ENOMEM : errno;
    return isIt;
}
} // namespace

extern "C" void *malloc(size_t size)
{
    return isRefused() ? nullptr : __libc_malloc(size);
}

extern "C" void *realloc(void *memory, size_t size)
{
    return isRefused() ? nullptr : __libc_realloc(memory, size);
}
