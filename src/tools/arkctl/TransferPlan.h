#pragma once
#include "net/transfer/TransferFrames.h"
#include <QString>

#include <optional>
#include <string>
#include <variant>
#include <vector>

/// One file to be sent, checked as far as it can be without the controller.
struct UploadItem
{
    QString path;
    QString name;   // without the folder; what the controller is told
    QString suffix; // in lower case
    quint8 irNumber = 0;
    qint64 size = 0;

    bool isProgram() const { return suffix == QLatin1String("pobj"); }
    bool isWebArchive() const { return suffix == QLatin1String("zip"); }
};

/// Whether a program is loaded first, to see that it is one. A newer controller may take what this tool cannot read.
enum class ProgramCheck { Load, Skip };

/// A program comes last: the controller restarts with it. Otherwise what is wrong with which file.
std::variant<std::vector<UploadItem>, std::string> planUploads(const std::vector<std::string> &files,
                                                               std::optional<int> irNumber,
                                                               ProgramCheck check = ProgramCheck::Load);

/// What is to be fetched, and the name of the file that it is written to unless another is given.
struct DownloadItem
{
    TransferFrames::DownloadRequest request;
    QString fileName;
};

std::optional<DownloadItem> planDownload(const std::string &kind);
