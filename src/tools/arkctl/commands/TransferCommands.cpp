#include "tools/arkctl/commands/TransferCommands.h"
#include "base/Monitor.h"
#include "net/link/LinkCodes.h"
#include "tools/arkctl/Command.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace {
constexpr int kTickMs = 50;
constexpr int kMinWatchdogMs = 200;
constexpr char kOldStays[] = "the controller keeps its old file; run the same command again";

void printJson(const nlohmann::ordered_json &object, Console &console)
{
    console.print(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

bool isError(int type)
{
    return type == static_cast<int>(MonitorMessageType::Error);
}
} // namespace

TransferRun::TransferRun(const RunOptions &options, Rendering::Form form)
    : LinkRun(tool(), options)
    , m_form(form)
    , m_timer(new QTimer(this))
{
    m_clock.start();
    connect(m_timer, &QTimer::timeout, this, [this] { tick(nowMs()); });
    m_timer->start(kTickMs);
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::MonitorLine) {
            takeLine(static_cast<int>(message.number("type")), QString::fromUtf8(message.field("text")));
        } else if (LinkCode::isTransfer(message.code)) {
            takeFrame(message.code, message.body, nowMs());
        }
    });
}

TransferTimes TransferRun::times() const
{
    TransferTimes times;
    times.watchdogMs = std::max(options().timeoutMs / DownloadClient::kMaxSilences, kMinWatchdogMs);
    return times;
}

void TransferRun::beginFile(const QString &name, qint64 size)
{
    m_name = name;
    m_bar.begin(name.toStdString(), size);
}

void TransferRun::report(qint64 bytes, const std::string &remark)
{
    m_bar.clear();
    const double seconds = m_bar.seconds();
    if (m_form == Rendering::Form::Json) {
        printJson({ { "file", m_name.toStdString() },
                    { "state", "done" },
                    { "bytes", bytes },
                    { "seconds", seconds },
                    { "text", remark } },
                  console());
        return;
    }
    char took[32];
    std::snprintf(took, sizeof took, "%.1f s", seconds);
    console().print(m_name.toStdString() + ": " + byteText(static_cast<double>(bytes)) + " in " + took +
                    (remark.empty() ? "" : "; " + remark));
}

void TransferRun::giveUp(const std::string &what, const std::string &tryThis)
{
    fail(m_name.toStdString() + ": " + what, tryThis);
}

void TransferRun::leave(const std::string &why)
{
    m_bar.clear();
    if (m_form == Rendering::Form::Json) {
        printJson({ { "file", m_name.toStdString() }, { "state", "failed" }, { "text", why } }, console());
    }
}

std::optional<QString> TransferRun::lineAbout(const QString &name, const QString &text)
{
    const QString start = name + QStringLiteral(": ");
    return text.startsWith(start) ? std::optional(text.mid(start.size())) : std::nullopt;
}

UploadCommand::UploadCommand(const RunOptions &options, std::vector<UploadItem> items, Rendering::Form form)
    : TransferRun(options, form)
    , m_items(std::move(items))
{}

void UploadCommand::begin()
{
    if (m_client) {
        return; // asked once more who we are
    }
    beginFile(item().name, item().size);
    m_file = std::make_unique<QFile>(item().path);
    if (!m_file->open(QIODevice::ReadOnly)) {
        giveUp("cannot be read: " + m_file->errorString().toStdString(), "see who may read it");
        return;
    }
    const TransferFrames::UploadRequest request{ item().irNumber, static_cast<quint32>(item().size), item().name };
    m_client = std::make_unique<UploadClient>(*m_file, request, times());
    QByteArray out;
    m_client->begin(nowMs(), out);
    settle(out);
}

void UploadCommand::takeFrame(quint8 code, const QByteArray &body, qint64 nowMs)
{
    if (!m_client || m_unpackUntilMs) {
        return;
    }
    QByteArray out;
    m_client->take(code, body, nowMs, out);
    settle(out);
}

void UploadCommand::takeLine(int type, const QString &text)
{
    const auto about = m_client ? lineAbout(item().name, text) : std::nullopt;
    if (!about) {
        return;
    }
    if (isError(type)) {
        giveUp(about->toStdString(),
               m_unpackUntilMs ? "the web folder is as it was before" : "the controller keeps its old file");
    } else if (m_unpackUntilMs) {
        finishItem(about->toStdString());
    }
}

void UploadCommand::tick(qint64 nowMs)
{
    if (!m_client) {
        return;
    }
    if (m_unpackUntilMs) {
        if (nowMs >= *m_unpackUntilMs) {
            finishItem("sent; the controller has not said that it is unpacked");
        }
        return;
    }
    QByteArray out;
    m_client->tick(nowMs, out);
    settle(out);
}

std::string UploadCommand::adviceWhenLost() const
{
    return kOldStays;
}

void UploadCommand::settle(const QByteArray &out)
{
    if (!out.isEmpty()) {
        client().sendFrames(out);
    }
    showProgress(m_client->confirmed(), item().size);
    switch (m_client->state()) {
    case UploadClient::State::Requested:
    case UploadClient::State::Sending:
    case UploadClient::State::Finishing:
        return;
    case UploadClient::State::Done:
        if (item().isWebArchive()) {
            m_unpackUntilMs = nowMs() + kUnpackMs;
        } else {
            finishItem(item().isProgram() ? "the controller restarts with it in 2 s" : "");
        }
        return;
    case UploadClient::State::Failed:
        giveUp("the controller at " + options().endpoint.text() + " does not answer any more", kOldStays);
        return;
    }
}

void UploadCommand::finishItem(const std::string &remark)
{
    report(item().size, remark);
    m_unpackUntilMs.reset();
    m_client.reset();
    if (++m_at == m_items.size()) {
        m_at = 0;
        finish(Outcome::Done);
    } else {
        begin();
    }
}

DownloadCommand::DownloadCommand(const RunOptions &options, const DownloadItem &item, const QString &path,
                                 Rendering::Form form)
    : TransferRun(options, form)
    , m_item(item)
    , m_path(QFileInfo(path).exists() ? QFileInfo(path).canonicalFilePath() : path)
    , m_file(QStringLiteral("%1.%2.part").arg(m_path).arg(QCoreApplication::applicationPid()))
{}

DownloadCommand::~DownloadCommand()
{
    if (m_file.isOpen()) {
        m_file.remove();
    }
}

void DownloadCommand::begin()
{
    if (m_client) {
        return;
    }
    beginFile(m_path, 0);
    if (const QFileInfo there(m_path); there.exists() && !there.isFile()) { // a folder, a device: not to be replaced
        giveUp("is there and no file", "name another with -o FILE");
        return;
    }
    if (!m_file.open(QIODevice::WriteOnly)) {
        giveUp("cannot be written: " + m_file.errorString().toStdString(), "name another file with -o FILE");
        return;
    }
    m_client = std::make_unique<DownloadClient>(m_file, m_item.request, times());
    QByteArray out;
    m_client->begin(nowMs(), out);
    settle(out);
}

void DownloadCommand::takeFrame(quint8 code, const QByteArray &body, qint64 nowMs)
{
    if (m_client) {
        QByteArray out;
        m_client->take(code, body, nowMs, out);
        settle(out);
    }
}

void DownloadCommand::takeLine(int type, const QString &text)
{
    const auto about = isError(type) ? lineAbout(m_item.fileName, text) : std::nullopt;
    if (about) {
        giveUp(about->toStdString(), "run the same command again");
    }
}

void DownloadCommand::tick(qint64 nowMs)
{
    if (m_client) {
        QByteArray out;
        m_client->tick(nowMs, out);
        settle(out);
    }
}

std::string DownloadCommand::adviceWhenLost() const
{
    return "nothing was written; run the same command again";
}

void DownloadCommand::settle(const QByteArray &out)
{
    if (!out.isEmpty()) {
        client().sendFrames(out);
    }
    showProgress(m_client->received(), m_client->size());
    switch (m_client->state()) {
    case DownloadClient::State::Requested:
    case DownloadClient::State::Receiving:
        return;
    case DownloadClient::State::Done: {
        const qint64 size = m_client->size();
        m_client.reset();
        if (!putInPlace(size)) {
            giveUp("cannot be written: " + m_file.errorString().toStdString(), "see whether the disk has room");
            return;
        }
        report(size, "");
        finish(Outcome::Done);
        return;
    }
    case DownloadClient::State::Refused:
        giveUp("the controller has no such file", "upload one first");
        return;
    case DownloadClient::State::Failed:
        giveUp(m_client->hasWriteError() ? "cannot be written: " + m_file.errorString().toStdString()
                                         : "the controller does not answer any more",
               adviceWhenLost());
        return;
    }
}

namespace {
struct UploadArguments
{
    std::vector<std::string> files;
    std::optional<int> irNumber;
    bool isForced = false;
    bool wantsJson = false;
};

struct DownloadArguments
{
    std::string kind;
    std::string output;
    bool wantsJson = false;
};

Outcome runUpload(const UploadArguments &arguments, const RunOptions &options)
{
    auto plan =
        planUploads(arguments.files, arguments.irNumber, arguments.isForced ? ProgramCheck::Skip : ProgramCheck::Load);
    if (const auto *fault = std::get_if<std::string>(&plan)) {
        return wrongUse(*fault);
    }
    return UploadCommand(options, std::move(std::get<std::vector<UploadItem>>(plan)), formOf(arguments.wantsJson))
        .run();
}

Outcome runDownload(const DownloadArguments &arguments, const RunOptions &options)
{
    const std::optional<DownloadItem> item = planDownload(arguments.kind);
    if (!item) {
        return wrongUse("nothing to download is called " + arguments.kind);
    }
    const QString path = QFile::decodeName(arguments.output.c_str());
    if (path.isEmpty() && QFile::exists(item->fileName)) {
        return wrongUse(item->fileName.toStdString() + " is here already: -o " + item->fileName.toStdString() +
                        " replaces it");
    }
    return DownloadCommand(options, *item, path.isEmpty() ? item->fileName : path, formOf(arguments.wantsJson)).run();
}
} // namespace

Command uploadCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word =
        app.addWord("upload", "Send files: program, source, panel design, web archive, IR codes");
    word->explain(
        { "Each takes effect as a whole or not at all: after a failure run the same command again. Two seconds "
          "after a program has arrived, the controller ends and its supervisor starts it with the new one.",
          { { "arkctl upload room.pobj", "a new program" },
            { "arkctl upload room.src panel.dtp site.zip", "its source, panel design, web pages" },
            { "arkctl upload tv.ir --ir 3", "codes of emitter 3; or: ir3.ir" } } });
    const auto arguments = std::make_shared<UploadArguments>();
    word->add("FILE", arguments->files, ".pobj, .src, .dtp, .zip or .ir; what each is, its suffix says")
        .required()
        .files({ "pobj", "src", "dtp", "zip", "ir" });
    word->add("--ir", arguments->irNumber, "Which infrared code file, where the name does not end in it")
        .named("NUMBER")
        .between(1, 8);
    word->addFlag("--force", arguments->isForced, "Send a program also when it is damaged or of an unknown version");
    addJsonFlag(*word, arguments->wantsJson, "One JSON object per file: file, state, bytes, seconds, text");
    return { word, [arguments](const RunOptions &options) { return runUpload(*arguments, options); } };
}

Command downloadCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("download", "Fetch a file that was sent before");
    word->explain({ "Without -o it takes its usual name in this folder (source.src, ui.dtp, ir1.ir), and "
                    "replaces no file there.",
                    { { "arkctl download source -o room.src", "" }, { "arkctl download ir3", "" } } });
    const auto arguments = std::make_shared<DownloadArguments>();
    word->add("KIND", arguments->kind, "source | ui | ir1 to ir8")
        .required()
        .suggests({ "source", "ui", "ir1", "ir2", "ir3", "ir4", "ir5", "ir6", "ir7", "ir8" });
    word->add("-o,--output", arguments->output, "Write it there, in place of an older one").named("FILE").files();
    addJsonFlag(*word, arguments->wantsJson, "A JSON object: file, state, bytes, seconds, text");
    return { word, [arguments](const RunOptions &options) { return runDownload(*arguments, options); } };
}

/// The system writes it to the disk when it likes: unlike a controller's program, it can be fetched once more.
bool DownloadCommand::putInPlace(qint64 size)
{
    const QByteArray from = QFile::encodeName(m_file.fileName());
    const QByteArray to = QFile::encodeName(m_path);
    if (!m_file.flush() || !m_file.resize(size) || std::rename(from.constData(), to.constData()) != 0) {
        return false;
    }
    m_file.close();
    return true;
}
