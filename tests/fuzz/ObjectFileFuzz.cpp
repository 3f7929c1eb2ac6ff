#include "compiler/SourceWriter.h"

#include <cstdlib>

/// Any bytes are loaded and written as source, or refused.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray file = QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const SourceText written = sourceOf(file);
    if (written.problem.isEmpty() == written.text.isEmpty()) {
        std::abort();
    }
    return 0;
}
