#pragma once
#include "base/Descriptor.h"
#include <memory>
#include <string_view>

/// A nameless file in the directory for temporary files, where a large body waits until its request is served. All of
/// them together are limited, so that many senders can't fill the disk.
/// Owns: the descriptor and the mapping; the file is gone with them. Thread: one at a time. Ends: with its owner.
class HttpTemporaryFile
{
public:
    static constexpr long long kMaxBytesTogether = 100LL * 1024 * 1024;

    enum class Made { Yes, NoRoom, Refused };
    struct Result
    {
        Made made = Made::Refused;
        std::shared_ptr<HttpTemporaryFile> file; // null unless it was made
    };
    /// \param expected  bytes that are to come, as far as it is known
    static Result make(long long expected);
    ~HttpTemporaryFile();
    HttpTemporaryFile(const HttpTemporaryFile &) = delete;
    HttpTemporaryFile &operator=(const HttpTemporaryFile &) = delete;

    long long size() const { return m_size; }
    bool append(const char *bytes, int count); // false: too many together, or the disk is full
    std::string_view content();                // all of it, mapped; append nothing from now on. Empty when it fails.

private:
    explicit HttpTemporaryFile(Descriptor descriptor);

    const Descriptor m_descriptor;
    long long m_size = 0;
    void *m_mapped = nullptr;
};
