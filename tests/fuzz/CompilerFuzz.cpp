#include "compiler/Compiler.h"
#include "compiler/SourceWriter.h"

#include <algorithm>
#include <cstdlib>

/// Any text is compiled or refused; what is compiled comes back from its object file to the same bytes. An editor hears
/// of it what the compiler says.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    if (text.contains(QLatin1String("include"), Qt::CaseInsensitive)) {
        return 0; // reads no files
    }
    const CompileResult result = compileSource(text);
    if (result.isGood() == result.objectFile.isEmpty()) {
        std::abort();
    }
    const auto isSame = [](const Diagnostic &one, const Diagnostic &other) { return textOf(one) == textOf(other); };
    const IndexedSource indexed = indexSource(text, result.files.first(), {});
    if (!std::equal(result.diagnostics.begin(), result.diagnostics.end(), indexed.diagnostics.begin(),
                    indexed.diagnostics.end(), isSame)) {
        std::abort();
    }
    if (result.isGood()) {
        const SourceText written = sourceOf(result.objectFile);
        if (!written.isExact) {
            qWarning("%s\n%s", qPrintable(written.problem), qPrintable(written.text));
            std::abort();
        }
    }
    return 0;
}
