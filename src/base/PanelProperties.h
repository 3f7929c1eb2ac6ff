#pragma once
#include <QByteArray>
#include <QVariant>
#include <QVector>

#include <optional>

/// What a panel property holds; the numbers are the type codes of the control language.
enum class PropertyType : quint8 { Number = 10, Text = 14 };

/// The five tables of properties: which names exist depends on what is asked or set.
enum class PropertyKind : quint8 { Button, SettableButton, State, Page, SettablePage };

/// The type of a property, by its lower-case name; nothing when the table of that kind does not have it.
std::optional<PropertyType> panelPropertyType(PropertyKind kind, const QByteArray &name);

/// What a program asks a panel. What a kind has no use for stays as it is: an answer names its question whole.
struct PanelQuestion
{
    enum class Kind : quint8 { Status, Text, ButtonProperty, StateProperty, PageProperty };
    Kind kind = Kind::Status;
    int channel = 0;   // not of a page
    int state = 0;     // of a text, and of a property of a state
    QByteArray name{}; // of the property, in lower case
    QByteArray page{};

    bool operator==(const PanelQuestion &other) const = default;
};

/// What a program sets on a panel, or has it do.
struct PanelSetting
{
    enum class Kind : quint8 { ButtonProperty, StateProperty, PageProperty, ContainerProperty, ContainerCall };
    Kind kind = Kind::ButtonProperty;
    QVector<qint64> channels{}; // not of a page
    QByteArray name{};          // of the property, in lower case, or of the method
    QVariant value{};           // a QByteArray for a text property and for containers, else a qint64
    int state = 0;              // of a property of a state
    QByteArray page{};
};
