#pragma once
#include <QString>
#include <QStringList>

#include <bitset>

/// The controller's LEDs, by number; docs/formats/supervisor-link.md has the list.
class HostLeds
{
public:
    static constexpr int kCount = 13;

    static QString nameOf(int led); // "serial 1", "ir 4", "any"; empty: there is none of that number
    bool isOn(int led) const { return m_on[static_cast<size_t>(led)]; }
    QStringList namesOfThoseOn() const;

    bool set(int led, bool on); // false: there is no such LED
    void allOff() { m_on.reset(); }

    /// "serial 1 - 3 -  ir - - - -  any": those that are on, or were since the last time this was asked, so that a
    /// flicker is seen.
    QString takeLine();

private:
    std::bitset<kCount> m_on;
    std::bitset<kCount> m_wereOn; // since takeLine()
};
