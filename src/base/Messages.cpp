#include "base/Messages.h"

#include <QCoreApplication>

QString translated(const char *sourceText)
{
    return QCoreApplication::translate("messages", sourceText);
}
