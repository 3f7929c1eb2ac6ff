#include "app/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>

namespace {
constexpr int kCodeLength = 2; // of the language, before the country

bool isLanguage(const QString &code, const char *language)
{
    const bool ends = code.size() == kCodeLength || code.mid(kCodeLength, 1) == QLatin1String("_");
    return ends && code.startsWith(QLatin1String(language));
}
} // namespace

bool Translations::isKnown(const QString &code)
{
    return isLanguage(code, "en") || isLanguage(code, "zh");
}

void Translations::install(const QString &code)
{
    if (!isLanguage(code.isEmpty() ? QLocale::system().name() : code, "zh")) {
        return;
    }
    QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::SimplifiedHanScript, QLocale::China));
    if (m_own.load(QStringLiteral(":/arkivon_zh_CN"))) {
        QCoreApplication::installTranslator(&m_own);
    }
    if (m_library.load(QStringLiteral("qtbase_zh_CN"), QLibraryInfo::location(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(&m_library);
    }
}
