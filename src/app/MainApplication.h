#pragma once
#include "app/Options.h"

#include <QCoreApplication>

#include <memory>
#include <optional>

class DataFolder;

/// The controller as a process: brings the parts up in order, ties them together, and ends them in order.
/// Owns: every part. Thread: the main thread. Ends: in main().
class MainApplication : public QCoreApplication
{
    Q_OBJECT
public:
    MainApplication(int &argc, char **argv);
    ~MainApplication() override;

    /// Reads the command line and starts everything. A status: the process ends with it instead of running.
    std::optional<int> start();

    /// Runs until a reboot, a restart or the end is wanted, then ends the running program. The process's status.
    int run();

private:
    struct Parts;
    std::optional<int> startParts(const Options &options);
    void startSupervisorLink();
    void loadProgram(const Options &options);
    std::optional<int> startNetwork(const Options &options);
    std::optional<int> startWebServer(const Options &options);
    void startControllerLinks(const Options &options);
    void quitOnSupervisorsWish();
    void serveUploads();
    void serveConsolePort();
    void endParts();

    std::unique_ptr<DataFolder> m_folder; // longer than all that writes in it
    std::unique_ptr<Parts> m_parts;
};
