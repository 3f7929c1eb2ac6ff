#include "compiler/Compiler.h"
#include "compiler/format/Formatter.h"
#include "support/SourceWords.h"

#include <QStringList>
#include <cstdlib>

namespace {
void expectSame(const QString &text, const QString &expected, const char *what)
{
    if (text != expected) {
        qWarning("%s\n<<<\n%s\n===\n%s\n>>>", what, qPrintable(text), qPrintable(expected));
        std::abort();
    }
}
} // namespace

/// Any text is refused, or laid out without a change of its content or meaning; the layout is laid out to itself.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const FormattedSource once = formatSource(text);
    if (!once.isGood()) {
        return 0;
    }
    expectSame(formatSource(once.text).text, once.text, "not idempotent");
    expectSame(wordsOf(once.text).join(QLatin1Char('\n')), wordsOf(text).join(QLatin1Char('\n')), "other content");
    if (text.contains(QLatin1String("include"), Qt::CaseInsensitive)) {
        return 0; // reads no files
    }
    const CompileResult before = compileSource(text);
    if (before.isGood() && compileSource(once.text).objectFile != before.objectFile) {
        expectSame(once.text, text, "other meaning");
    }
    return 0;
}
