#pragma once
#include "devices/DeviceLinks.h"
#include "devices/PortManager.h"
#include "program/DeviceActions.h"

#include <QObject>
#include <QPointer>
#include <QVariant>

#include <functional>
#include <memory>

class Dispatcher;
class ProgramState;

/// The one way of the running program to hardware, panels, other controllers and sockets.
/// Owns: the port manager. The links are borrowed; a missing one means that nobody can be reached that way.
/// Thread: the main thread. Ends: with the application.
class DeviceManager : public QObject, public DeviceActions
{
    Q_OBJECT
public:
    explicit DeviceManager(std::unique_ptr<PortHardware> hardware, QObject *parent = nullptr);

    PortManager &ports() { return m_ports; }

    // What the actions reach. All of them may come, go and be missing.
    void setPanelLink(PanelLink *panels) { m_panels = panels; }
    void setControllerLink(ControllerLink *controllers) { m_controllers = controllers; }
    void setSocketOutputs(SocketOutputs *sockets) { m_sockets = sockets; }
    void setReboot(std::function<void()> reboot) { m_reboot = std::move(reboot); }
    void setProgram(ProgramState *program, Dispatcher *dispatcher); // its pulse time, level handling and button states

    void switchChannel(const DeviceAddress &device, PortAction action, int channel) override;
    void sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log logLocal) override;
    void sendPortString(const DeviceAddress &device, const QByteArray &data) override;
    void setLevel(const DeviceAddress &device, int levelCode, int value) override;
    void setLevels(const DeviceAddress &device, const QVector<qint64> &codes, const QVector<qint64> &values) override;

    void setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last) override;
    void setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels) override;
    void setButtonStatuses(int deviceNumber, const QVector<qint64> &channels, const QVector<qint64> &statuses) override;

    int relayState(const DeviceAddress &device, int channel) const override;
    bool askPortChannel(const DeviceAddress &device, int channel) override;
    void queryPortStatus(const DeviceAddress &device, int channel); // answered by gotPortStatus

    QVariant askPanel(int deviceNumber, const PanelQuestion &question) override;
    void setOnPanel(int deviceNumber, const PanelSetting &setting) override;

    void rebootController() override;

    void releaseHeldOutputs() override;
    void cancelRemoteToItems() override;

    /// \name What happens on the ports of this controller, system 0, or of another one; with the line that says so.
    void raiseOnline(int port, int system, bool isOnline = true);
    void raiseReceived(int port, int system, const QByteArray &data);
    void raiseContact(int number, int system, bool isPush);

    /// \name What other controllers ask of this one; the prefix of the text forms is removed.
    void performSetup(const QByteArray &text);
    void performQuery(const QByteArray &text);
    void performCommand(const QByteArray &text);
    void performString(const QByteArray &text);

public Q_SLOTS:
    void queryIRCode(int number); // answered by gotIRCode, where there is hardware

Q_SIGNALS:
    void panelAnswered(int deviceId, const PanelQuestion &question, const QVariant &value);
    void gotPortStatus(int sysNum, int port, int channel, int status); // sysNum 0: of this controller
    void gotIRCode(int number, const QByteArray &data);

private:
    struct LevelMemory // of one path: single or several levels
    {
        qint64 code = -1;
        qint64 value = -1;
    };
    void writeSocket(int port, const QByteArray &data);
    void noteLevel(int deviceNumber, qint64 levelCode, qint64 value, LevelMemory &memory);

    PortManager m_ports;
    PanelLink *m_panels = nullptr;
    ControllerLink *m_controllers = nullptr;
    SocketOutputs *m_sockets = nullptr;
    std::function<void()> m_reboot;
    QPointer<ProgramState> m_program;
    QPointer<Dispatcher> m_dispatcher;
    LevelMemory m_lastLevel;
    LevelMemory m_lastOfLevels;
};
