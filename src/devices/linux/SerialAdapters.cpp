#include "devices/linux/SerialAdapters.h"

#include <QDir>
#include <QFile>
#include <QMap>

#include <algorithm>

namespace {
QString firstLine(const QString &file)
{
    QFile opened(file);
    return opened.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(opened.readLine(256).trimmed()) : QString();
}

/// What the first folder from this one up has, as far as the bus goes.
template <class Look>
QString lookUp(QString folder, Look look)
{
    for (int level = 0; level < 5 && !folder.isEmpty(); ++level) {
        if (const QString found = look(folder); !found.isEmpty()) {
            return found;
        }
        folder.truncate(folder.lastIndexOf(QLatin1Char('/')));
    }
    return {};
}

QString driverOf(const QString &folder)
{
    const QString driver =
        QFileInfo(folder + QStringLiteral("/driver")).canonicalFilePath().section(QLatin1Char('/'), -1);
    const bool isCore = driver == QLatin1String("port") || driver == QLatin1String("ctrl"); // between line and driver
    return isCore ? QString() : driver;
}

/// Device files by the lasting names that udev has given them.
QMap<QString, QString> lastingNames(const QDir &folder)
{
    QMap<QString, QString> names;
    for (const QString &name : folder.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot, QDir::Name)) {
        names.insert(QFileInfo(folder.filePath(name)).canonicalFilePath(), folder.filePath(name));
    }
    return names;
}
} // namespace

std::vector<SerialAdapters::Found> SerialAdapters::all(const QString &root)
{
    const QDir top(root);
    const QDir lines(top.filePath(QStringLiteral("sys/class/tty")));
    const QMap<QString, QString> names = lastingNames(QDir(top.filePath(QStringLiteral("dev/serial/by-id"))));
    const QStringList consoles = firstLine(lines.filePath(QStringLiteral("console/active"))).split(QLatin1Char(' '));
    QStringList found = lines.entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    std::sort(found.begin(), found.end(), // 10 behind 9
              [](const auto &a, const auto &b) { return a.size() != b.size() ? a.size() < b.size() : a < b; });
    std::vector<Found> adapters;
    for (const QString &name : qAsConst(found)) {
        const QString folder = QFileInfo(lines.filePath(name + QStringLiteral("/device"))).canonicalFilePath();
        const QString file = QFileInfo(top.filePath(QStringLiteral("dev/") + name)).canonicalFilePath();
        const QString unknownKind = QStringLiteral("0"); // a place for a chip that is not there
        if (folder.isEmpty() || file.isEmpty() ||
            firstLine(lines.filePath(name + QStringLiteral("/type"))) == unknownKind) {
            continue;
        }
        const QString product =
            lookUp(folder, [](const QString &each) { return firstLine(each + QStringLiteral("/product")); });
        adapters.push_back(
            { names.value(file, file), file, lookUp(folder, driverOf), product, consoles.contains(name) });
    }
    return adapters;
}
