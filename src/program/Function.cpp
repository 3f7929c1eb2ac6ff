#include "program/Function.h"

#include <algorithm>

void Function::addAlias(const QString &alias)
{
    if (std::find(m_aliases.begin(), m_aliases.end(), alias) == m_aliases.end()) {
        m_aliases.push_back(alias);
    }
}
