#include "web/HttpTemporaryFile.h"

#include <QDir>

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {
std::atomic<long long> bytesTogether{ 0 };
}

std::shared_ptr<HttpTemporaryFile> HttpTemporaryFile::make()
{
    QByteArray name = QFile::encodeName(QDir::tempPath() + QStringLiteral("/arkivon-body-XXXXXX"));
    const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    ::unlink(name.constData());
    return std::shared_ptr<HttpTemporaryFile>(new HttpTemporaryFile(descriptor));
}

HttpTemporaryFile::HttpTemporaryFile(int descriptor)
    : m_descriptor(descriptor)
{}

HttpTemporaryFile::~HttpTemporaryFile()
{
    if (m_mapped) {
        ::munmap(m_mapped, static_cast<size_t>(m_size));
    }
    ::close(m_descriptor);
    bytesTogether -= m_size;
}

bool HttpTemporaryFile::append(const char *bytes, int count)
{
    if (bytesTogether.fetch_add(count) + count > kMaxBytesTogether) {
        bytesTogether -= count;
        return false;
    }
    m_size += count;
    while (count > 0) {
        const ssize_t written = ::write(m_descriptor, bytes, static_cast<size_t>(count));
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
        void *const mapped = ::mmap(nullptr, static_cast<size_t>(m_size), PROT_READ, MAP_PRIVATE, m_descriptor, 0);
        m_mapped = mapped == MAP_FAILED ? nullptr : mapped;
    }
    return m_mapped ? std::string_view(static_cast<const char *>(m_mapped), static_cast<size_t>(m_size))
                    : std::string_view();
}
