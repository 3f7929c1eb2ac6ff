#include "web/HttpTemporaryFile.h"

#include <QDir>

#include <algorithm>
#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {
std::atomic<long long> bytesTogether{ 0 };

/// Whether the file system takes so many bytes more and still has some for others.
bool hasRoom(int descriptor, long long bytes)
{
    constexpr long long kKeptFree = 16LL * 1024 * 1024;
    constexpr long long kKeptShare = 16;
    struct statvfs system
    {};
    if (::fstatvfs(descriptor, &system) != 0) {
        return true; // it does not say
    }
    const auto unit = static_cast<long long>(system.f_frsize);
    const long long kept = std::min(kKeptFree, static_cast<long long>(system.f_blocks) * unit / kKeptShare);
    return static_cast<long long>(system.f_bavail) * unit - kept >= bytes;
}
} // namespace

HttpTemporaryFile::Result HttpTemporaryFile::make(long long expected)
{
    QByteArray name = QFile::encodeName(QDir::tempPath() + QStringLiteral("/arkivon-body-XXXXXX"));
    Descriptor descriptor(::mkostemp(name.data(), O_CLOEXEC));
    if (!descriptor.isOpen()) {
        return { errno == ENOSPC ? Made::NoRoom : Made::Refused, nullptr };
    }
    ::unlink(name.constData());
    if (!hasRoom(descriptor.get(), expected)) {
        return { Made::NoRoom, nullptr };
    }
    return { Made::Yes, std::shared_ptr<HttpTemporaryFile>(new HttpTemporaryFile(std::move(descriptor))) };
}

HttpTemporaryFile::HttpTemporaryFile(Descriptor descriptor)
    : m_descriptor(std::move(descriptor))
{}

HttpTemporaryFile::~HttpTemporaryFile()
{
    if (m_mapped) {
        ::munmap(m_mapped, static_cast<size_t>(m_size));
    }
    bytesTogether -= m_size;
}

bool HttpTemporaryFile::append(const char *bytes, int count)
{
    if (bytesTogether.fetch_add(count) + count > kMaxBytesTogether || !hasRoom(m_descriptor.get(), count)) {
        bytesTogether -= count;
        return false;
    }
    m_size += count;
    while (count > 0) {
        const ssize_t written = ::write(m_descriptor.get(), bytes, static_cast<size_t>(count));
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes += std::max<ssize_t>(written, 0);
        count -= static_cast<int>(std::max<ssize_t>(written, 0));
    }
    return true;
}

std::string_view HttpTemporaryFile::content()
{
    if (!m_mapped && m_size > 0) {
        void *const mapped =
            ::mmap(nullptr, static_cast<size_t>(m_size), PROT_READ, MAP_PRIVATE, m_descriptor.get(), 0);
        m_mapped = mapped == MAP_FAILED ? nullptr : mapped;
    }
    return m_mapped ? std::string_view(static_cast<const char *>(m_mapped), static_cast<size_t>(m_size))
                    : std::string_view();
}
