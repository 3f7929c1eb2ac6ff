#pragma once
#include "base/Descriptor.h"

#include <QObject>
#include <QString>

#include <optional>

class QSocketNotifier;
class QTimer;

/// One line of a GPIO chip that stays in use for years, as an output (a relay) or an input (a contact): when its chip
/// goes away, an adapter that was pulled out, it is opened again as soon as it is back, also with another number.
///
/// An output is off from its opening on until set() says otherwise, gets its last value again when its chip is back,
/// and is off when this ends. A process that dies lets go of the line: the kernel then leaves it as it is, or gives it
/// its default, as the chip's driver has it.
/// An input is debounced by the kernel. A chip that cannot tell of changes is read every 10 ms, and debounced here.
///
/// Owns: the descriptor, notifier and timer (Qt children). Thread: that of the object it is a child of; nothing waits.
/// Ends: with its parent.
class GpioLine : public QObject
{
    Q_OBJECT
public:
    enum class Direction { Input, Output };
    enum class Bias { AsIs, Disabled, PullUp, PullDown };
    struct Setting
    {
        QString line; // as GpioChips::find() takes it
        Direction direction = Direction::Output;
        bool isActiveLow = false;
        Bias bias = Bias::AsIs;
        int debounceMs = 0; // of an input

        bool operator==(const Setting &) const = default;
    };
    static constexpr int kLookMs = 1000; // whether the chip has gone, or is back
    static constexpr int kReadMs = 10;   // of chips that do not tell

    explicit GpioLine(Setting setting, QObject *parent = nullptr);
    ~GpioLine() override;

    const Setting &setting() const { return m_setting; }
    bool isOpen() const { return m_line.isOpen(); }
    bool isOn() const { return m_isOn; } // what was set; of an input what it had last, also while it is away
    bool isPolled() const;

    /// From now on kept open. What went wrong with the first attempt, if anything.
    std::optional<QString> open();
    bool set(bool isOn); // false: the line is away, and gets the value when it is back

Q_SIGNALS:
    void changed(bool isOn); // of an input, also when it differs after its chip was away
    void opened();           // again, after lost() or failed()
    void lost(const QString &reason);
    void failed(const QString &reason); // an attempt to open it again; once until the reason is another

private:
    std::optional<QString> tryToOpen();
    int request(int chip, quint32 offset, bool withEdges);
    void beginInput();
    void look();
    void readEvents();
    std::optional<bool> value(); // nothing: the chip is away
    void sample();
    void take(bool isOn);
    void lose(int reason);

    Setting m_setting;
    Descriptor m_line;
    QTimer *m_look = nullptr;              // Qt child
    QTimer *m_read = nullptr;              // Qt child; runs while the line has to be asked
    QSocketNotifier *m_notifier = nullptr; // Qt child; while open and the chip tells
    QString m_failure;
    QString m_label;      // of the chip that had it last; empty: it was never open
    quint32 m_offset = 0; // of the line there
    bool m_isOn = false;
    int m_differentReads = 0; // in a row, of a line that is asked
};
