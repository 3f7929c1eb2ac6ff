#pragma once
#include "events/ButtonStatusSaver.h"
#include "events/Events.h"
#include "interp/Interpreter.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

class HandlerTable;

/// The one way of every event to the program's handlers.
/// Owns: the prepared handlers and the button status stores. Thread: the main thread; PanelEvents of other threads are
/// brought to it. Ends: with the program, before its tree.
class Dispatcher : public QObject, public EventRaiser
{
    Q_OBJECT
public:
    explicit Dispatcher(Interpreter &interpreter, QObject *parent = nullptr);
    ~Dispatcher() override;

    /// Makes the handlers ready to run. Call once, after the load.
    void prepare();

    // What happens outside enters here, one function a kind, on the main thread.
    void press(int deviceNumber, int channel);
    void release(int deviceNumber, int channel);
    void changeLevel(int deviceNumber, int levelCode, int value);
    void raiseData(const CustomEvent &event, const DataFields &fields); // online, offline, string, error, command
    void raiseChannel(const CustomEvent &event); // push and release of a port, without side effects

    void simulatePush(int deviceNumber, int port, int channel) override;
    void raiseCommand(const DeviceAddress &device, const QByteArray &text) override;
    void raiseTimeline(const TimelineFigures &figures) override;
    std::optional<ChannelAddress> handledInput() const override;

    /// TO is over: the program's own held channels go off, then the ports', then those of linked controllers.
    void releaseToItems();

    /// Posts the mainline's statements, one event each, if those of the pass before have all run.
    void runMainlinePass();
    void dropPendingMainline();
    void runStartBlock();

    ButtonStatusSaver &buttonStatus(int deviceNumber); // made on first use
    const ButtonStatusSaver *findButtonStatus(int deviceNumber) const;

    const HandlerTable *handlers() const { return m_handlers.get(); } // nullptr: not prepared

    /// Called before each statement of the mainline: lets in what came meanwhile.
    std::function<void()> beforeStatement;
    /// Sees every event before the handlers do: the controller link forwards some.
    std::function<void(const CustomEvent &)> observer;

protected:
    void customEvent(QEvent *event) override;

private:
    void dispatch(const CustomEvent &event, StructType *data);
    void runMainlineStatement(const Body &statement);
    void tickHold();
    void stopHold();
    void fillBuffer(const CustomEvent &event);

    Interpreter &m_interpreter;
    AST &m_program;
    ProgramState &m_state;
    std::unique_ptr<HandlerTable> m_handlers;
    std::map<int, ButtonStatusSaver> m_buttonStatus;
    std::vector<CustomEvent> m_inProgress; // outermost first
    std::set<int> m_overflowed;            // buffers, by name id, that have overflowed since they were empty
    std::vector<Body> m_mainline;
    Body m_startBlock;
    int m_holdTicket = 0;
    int m_holdTenths = 0;
    int m_heldDevice = -1;
    int m_heldChannel = 0;
    int m_pendingStatements = 0;
};
