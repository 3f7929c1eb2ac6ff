#pragma once
#include "net/client/ToolTransfers.h"
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/ProgressBar.h"
#include "tools/arkctl/Rendering.h"
#include "tools/arkctl/TransferPlan.h"
#include <QFile>

#include <memory>

class QTimer;

/// What sending and fetching have in common: the clock, the bar, and the monitor line by which a controller says why it
/// refuses. Owns, Thread, Ends: as LinkRun.
class TransferRun : public LinkRun
{
    Q_OBJECT
protected:
    TransferRun(const RunOptions &options, Rendering::Form form);

    virtual void takeFrame(quint8 code, const QByteArray &body, qint64 nowMs) = 0;
    virtual void takeLine(int type, const QString &text) = 0;
    virtual void tick(qint64 nowMs) = 0;
    void leave(const std::string &why) override;
    Outcome outcomeWhenStopped() const override { return Outcome::Failed; } // not all is done

    TransferTimes times() const;                      // three silences are the time that --timeout gives
    void beginFile(const QString &name, qint64 size); // size 0: not known yet
    void showProgress(qint64 done, qint64 size) { m_bar.show(done, size); }
    qint64 nowMs() const { return m_clock.elapsed(); }
    void report(qint64 bytes, const std::string &remark);
    void giveUp(const std::string &what, const std::string &tryThis);

    /// The text behind "NAME: " in a line about the file of that name; nothing in any other line.
    static std::optional<QString> lineAbout(const QString &name, const QString &text);

private:
    const Rendering::Form m_form;
    ProgressBar m_bar;
    QString m_name; // of the file under way
    QElapsedTimer m_clock;
    QTimer *m_timer = nullptr; // Qt child
};

/// arkctl upload: one file after the other, a program last.
class UploadCommand final : public TransferRun
{
    Q_OBJECT
public:
    UploadCommand(const RunOptions &options, std::vector<UploadItem> items, Rendering::Form form);

protected:
    void begin() override;
    void takeFrame(quint8 code, const QByteArray &body, qint64 nowMs) override;
    void takeLine(int type, const QString &text) override;
    void tick(qint64 nowMs) override;
    std::string adviceWhenLost() const override;

private:
    static constexpr int kUnpackMs = 60000;

    const UploadItem &item() const { return m_items.at(m_at); }
    void settle(const QByteArray &out);
    void finishItem(const std::string &remark);

    const std::vector<UploadItem> m_items;
    size_t m_at = 0;
    std::unique_ptr<QFile> m_file;
    std::unique_ptr<UploadClient> m_client; // of this file
    std::optional<qint64> m_unpackUntilMs;  // the archive is there, and is being unpacked
};

/// arkctl download: one file, which takes the place of an older one when it is complete.
class DownloadCommand final : public TransferRun
{
    Q_OBJECT
public:
    DownloadCommand(const RunOptions &options, const DownloadItem &item, const QString &path, Rendering::Form form);
    ~DownloadCommand() override; // what is not complete goes

protected:
    void begin() override;
    void takeFrame(quint8 code, const QByteArray &body, qint64 nowMs) override;
    void takeLine(int type, const QString &text) override;
    void tick(qint64 nowMs) override;
    std::string adviceWhenLost() const override;

private:
    void settle(const QByteArray &out);
    bool putInPlace(qint64 size);

    const DownloadItem m_item;
    const QString m_path;
    QFile m_file; // beside it until it is complete
    std::unique_ptr<DownloadClient> m_client;
};
