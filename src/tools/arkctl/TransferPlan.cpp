#include "tools/arkctl/TransferPlan.h"
#include "net/client/ToolTransfers.h"
#include "runtime/ObjectFile.h"
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <limits>

namespace {
constexpr int kIrFiles = 8;

/// The number in a name like "ir3.ir"; 0 when there is none.
int numberInName(const QString &name)
{
    static const QRegularExpression form(QStringLiteral("([1-9])\\.ir\\z"), QRegularExpression::CaseInsensitiveOption);
    return form.match(name).captured(1).toInt();
}

/// Why a controller could not load it; empty when it could, or when it cannot be read (sending says why).
std::string programProblem(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QString problem = objectFileProblem(file.readAll());
    return problem.isEmpty() ? std::string() : problem.toStdString() + "; arkc build makes one, --force sends this";
}

std::variant<UploadItem, std::string> planUpload(const std::string &file, std::optional<int> irNumber,
                                                 ProgramCheck check)
{
    const QFileInfo info(QFile::decodeName(file.c_str()));
    UploadItem item{ info.filePath(), info.fileName(), info.suffix().toLower(), 0, info.size() };
    static const QStringList known{ QStringLiteral("pobj"), QStringLiteral("src"), QStringLiteral("dtp"),
                                    QStringLiteral("zip"), QStringLiteral("ir") };
    if (!info.isFile()) {
        return file + (info.exists() ? " is no file" : " does not exist");
    }
    if (!known.contains(item.suffix)) {
        return file + ": a controller takes .pobj, .src, .dtp, .zip and .ir files";
    }
    if (item.size == 0) {
        return file + " is empty";
    }
    if (item.isProgram() && check == ProgramCheck::Load) {
        if (const std::string problem = programProblem(item.path); !problem.empty()) {
            return file + ": " + problem;
        }
    }
    if (item.size > std::numeric_limits<quint32>::max()) {
        return file + " is larger than 4 GiB";
    }
    if (item.suffix == QLatin1String("ir")) {
        const int number = irNumber.value_or(numberInName(item.name));
        if (number < 1 || number > kIrFiles) {
            return file + ": which of the codes 1 to 8 is it? --ir NUMBER says so";
        }
        item.irNumber = static_cast<quint8>(number);
    }
    return item;
}
} // namespace

std::variant<std::vector<UploadItem>, std::string> planUploads(const std::vector<std::string> &files,
                                                               std::optional<int> irNumber, ProgramCheck check)
{
    std::vector<UploadItem> items;
    for (const std::string &file : files) {
        auto item = planUpload(file, irNumber, check);
        if (const auto *fault = std::get_if<std::string>(&item)) {
            return *fault;
        }
        items.push_back(std::move(std::get<UploadItem>(item)));
    }
    const auto isIr = [](const UploadItem &item) { return item.suffix == QLatin1String("ir"); };
    if (irNumber && std::none_of(items.begin(), items.end(), isIr)) {
        return "--ir is for .ir files, and there is none";
    }
    std::stable_partition(items.begin(), items.end(), [](const UploadItem &item) { return !item.isProgram(); });
    return items;
}

std::optional<DownloadItem> planDownload(const std::string &kind)
{
    constexpr quint8 window = DownloadClient::kWindow;
    if (kind == "source") {
        return DownloadItem{ { 0, 0, window }, QStringLiteral("source.src") };
    }
    if (kind == "ui") {
        return DownloadItem{ { 1, 0, window }, QStringLiteral("ui.dtp") };
    }
    const bool isIr = kind.size() == 3 && kind.compare(0, 2, "ir") == 0 && kind[2] >= '1' && kind[2] <= '0' + kIrFiles;
    if (!isIr) {
        return std::nullopt;
    }
    return DownloadItem{ { 2, static_cast<quint8>(kind[2] - '0'), window },
                         QString::fromStdString(kind) + QStringLiteral(".ir") };
}
