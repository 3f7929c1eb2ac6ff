#pragma once
#include "interp/Trace.h"
#include "model/StorageManager.h"
#include "program/AST.h"
#include "program/DeviceActions.h"

#include <QFile>

#include <atomic>
#include <map>
#include <memory>
#include <vector>

class LevelAssocManager;
class SocketActions;

/// What one program that runs has besides its declaration: its stores, open files and buffers, the groups and levels as
/// it has changed them, the ways to devices and sockets, the stop, and the variables that the runtime keeps up to date.
/// Nothing of it is shared: several programs run in one process, each with a state of its own. The values of the
/// variables stay where they are declared, in the tree, so that prepared code reaches them directly.
/// Owns: the stores, the files, its ticks. Thread: the main thread, but for requestStop().
/// Ends: with the program, after what runs it and before its tree.
class ProgramState : public QObject
{
public:
    /// \param dataDirectory  where the variable stores live
    ProgramState(AST &program, const QString &dataDirectory);
    ~ProgramState() override;

    AST &program() { return m_program; }
    const AST &program() const { return m_program; }

    /// Takes over what the tree declares, and the stored values. Call once, when the tree has been read.
    void begin();

    StorageManager &storage() { return m_storage; }
    Trace &trace() { return m_trace; }
    LevelAssocManager &levels() { return *m_levels; }
    DeviceCombineManager &combinations() { return m_combinations; }
    /// The addresses that one device stands for: the other members of its groups for a virtual device, else itself.
    std::vector<DeviceAddress> expandDevice(const DeviceAddress &device) const { return m_combinations.expand(device); }

    std::map<DeviceAddress, Name> &buffers() { return m_buffers; } // strings from a device go into this variable
    /// The files that the program opened, by handle; a closed one keeps its handle, without a file.
    std::map<int, std::unique_ptr<QFile>> &files() { return m_files; }

    /// What the program switches and sends; may be missing. What has changed before is on the disk before anybody
    /// outside can see what follows.
    DeviceActions *devices()
    {
        m_storage.flush();
        return m_devices;
    }
    void setDevices(DeviceActions *devices) { m_devices = devices; }
    SocketActions *sockets() // likewise
    {
        m_storage.flush();
        return m_sockets;
    }
    void setSockets(SocketActions *sockets) { m_sockets = sockets; }

    int pulseTimeMs() const { return m_pulseTimeMs; }
    void setPulseTimeMs(int ms); // get_pulse_time follows, in tenths of a second

    /// Loops end at their next round, calls yield nothing. May be called from any thread and from a signal handler.
    void requestStop() { m_stopRequested.store(true, std::memory_order_relaxed); }
    const std::atomic<bool> &stopFlag() const { return m_stopRequested; }
    bool stopRequested() const { return m_stopRequested.load(std::memory_order_relaxed); }

    // System variables that are kept up to date. A program may declare a number of them again, as a constant of the
    // value that it begins with: the new one is kept up to date in its place.
    bool isKeptCurrent(const BasicType &global) const;
    void setPushed(const ChannelAddress &input);   // push_channel, push_devchan
    void setReleased(const ChannelAddress &input); // release_channel, release_devchan

private:
    struct SystemVariables
    {
        explicit SystemVariables(const AST &program);

        Double *getTimer;
        Double *getPulseTime;
        Double *pushChannel;
        Double *releaseChannel;
        DevChan *pushDevChan;
        DevChan *releaseDevChan;
        Array *date;
        Array *time;
        Array *day;
    };
    void refreshDateAndTime();

    AST &m_program;
    SystemVariables m_system;
    StorageManager m_storage;
    Trace m_trace;
    std::unique_ptr<LevelAssocManager> m_levels;
    DeviceCombineManager m_combinations;
    std::map<DeviceAddress, Name> m_buffers;
    std::map<int, std::unique_ptr<QFile>> m_files;
    DeviceActions *m_devices = nullptr;
    SocketActions *m_sockets = nullptr;
    int m_pulseTimeMs = 500;
    std::atomic<bool> m_stopRequested{ false };
    qint64 m_tenths = 0; // since this object was made
    int m_tenthTicket = 0;
    int m_secondTicket = 0;
};
