#include "base/Names.h"

#include <QHash>
#include <QVector>

namespace {
/// Every name met so far. Grows with the distinct names of the loaded program and never shrinks.
struct NameTable
{
    QHash<QString, int> ids;
    QVector<QString> texts{ QString() };
};

NameTable &table()
{
    static NameTable names;
    return names;
}
} // namespace

QString normalisedName(const QString &text)
{
    return text.trimmed().toUpper();
}

Name::Name(const QString &text)
{
    NameTable &names = table();
    if (const auto known = names.ids.constFind(text); known != names.ids.constEnd()) {
        m_id = *known;
        return;
    }
    const QString normalised = normalisedName(text);
    if (normalised.isEmpty()) {
        return;
    }
    if (const auto known = names.ids.constFind(normalised); known != names.ids.constEnd()) {
        m_id = *known;
        return;
    }
    m_id = names.texts.size();
    names.texts.append(normalised);
    names.ids.insert(normalised, m_id);
}

QString Name::textOf(int id)
{
    return table().texts.at(id);
}
