#pragma once
#include "admin/TransferFiles.h"
#include "admin/TransferService.h"
#include "admin/WebUnpacker.h"

#include <QObject>

#include <atomic>
#include <functional>

/// The files that tools send, and what they set off: a new program restarts the controller, a web archive is unpacked.
/// Owns: the transfer service and the unpacker. Thread: made and destroyed on the main thread. What an upload sets off
///       is timed on another one, because a program in an endless loop, which is the best reason for a new one, keeps
///       the main thread busy.
/// Ends: after the network and the timing thread.
class Uploads : public QObject
{
    Q_OBJECT
public:
    static constexpr int kActAfterMs = 2000; // the tool hears before that its file has arrived

    struct Actions
    {
        std::function<void()> stopProgram; // any thread
        std::function<void()> restart;     // main thread
        std::function<void()> reboot;      // main thread; after an upload over the console port
    };

    /// \param timing  an object of a thread whose event loop nothing holds up
    Uploads(const TransferPaths &paths, const QString &webFolder, Actions actions, QObject &timing);

    TransferService &service() { return m_service; }
    TransferFiles &files() { return m_files; }
    bool hasNewProgram() const { return m_hasNewProgram; } // the values of the old one are to be forgotten

private:
    template <class Job>
    void actLater(Job job);
    void arrived(const TransferTarget &target); // the service's thread
    void endProgram(TransferVia via);           // the timing thread

    const Actions m_actions;
    QObject &m_timing;
    std::atomic<bool> m_hasNewProgram{ false };
    WebUnpacker m_unpacker;
    TransferFiles m_files;
    TransferService m_service;
};
