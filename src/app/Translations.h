#pragma once
#include <QString>
#include <QTranslator>

/// The operator's language: English is in the texts themselves, Chinese in the program's resources.
/// Owns: the translators. Thread: the main thread, before other threads start. Ends: with the application.
class Translations
{
public:
    static bool isKnown(const QString &code); // "en", "zh", with or without a country

    /// Installs the Chinese texts when they are wanted.
    /// \param code  "en", "zh_CN"; empty: the language of the environment
    void install(const QString &code);

private:
    QTranslator m_own;
    QTranslator m_library; // Qt's own texts
};
