#pragma once
#include <QByteArray>

#include <optional>

/// What a panel property holds; the numbers are the type codes of the control language.
enum class PropertyType : quint8 { Number = 10, Text = 14 };

/// The five tables of properties: which names exist depends on what is asked or set.
enum class PropertyKind : quint8 { Button, SettableButton, State, Page, SettablePage };

/// The type of a property, by its lower-case name; nothing when the table of that kind does not have it.
std::optional<PropertyType> panelPropertyType(PropertyKind kind, const QByteArray &name);
