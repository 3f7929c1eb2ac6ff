#pragma once
#include "base/PanelProperties.h"
#include "library/LibraryFunction.h"

#include <QVariant>

class DeviceActions;

/// What the panel built-ins share: the device, the names and the values of their arguments, and the texts for wrong
/// ones.
class PanelFunction : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;

protected:
    struct Property
    {
        QByteArray name; // in lower case
        PropertyType type = PropertyType::Number;
    };

    /// Whether there are that many arguments; reports when not.
    bool hasAtLeast(const ArgumentList &arguments, int count) const;
    // Each reports a wrong argument and gives nothing then.
    std::optional<DeviceAddress> device(const ArgumentList &arguments) const;     // the first argument
    std::optional<QVector<qint64>> channels(const ArgumentList &arguments) const; // the second
    std::optional<QByteArray> page(const ArgumentList &arguments) const;          // the second
    std::optional<int> state(const ArgumentList &arguments, int index) const;
    std::optional<Property> property(const ArgumentList &arguments, int index, PropertyKind kind) const;

    static QVariant value(const ArgumentList &arguments, int index, PropertyType type);
    void setAnswer(const QVariant &answer, PropertyType type); // invalid: an empty text, or 0
};

// Questions. They wait for the panel's answer in a nested event loop; without one they give an empty text or 0.

/// button_text(device, channel, state)
class ButtonTextFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// button_property(device, channel, property)
class ButtonPropertyFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// button_state_property(device, channel, state, property)
class ButtonStatePropertyFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// page_property(device, page, property)
class PagePropertyFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

// Settings. Nothing is awaited and nothing given.

/// set_button_property(device, channels, property, value)
class SetButtonPropertyFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// set_button_state_property(device, channels, state, property, value)
class SetButtonStatePropertyFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// set_page_property(device, page, property, value)
class SetPagePropertyFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// set_container_property(device, channels, property, data): the property's name goes out as written.
class SetContainerPropertyFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// container_call(device, channels, method [, data])
class ContainerCallFunc : public PanelFunction
{
public:
    using PanelFunction::PanelFunction;
    void call(const ArgumentList &arguments) override;
};

/// url_open(device, URL), play_sound(device, name), process_start(device, command): a command to the device.
class PanelCommandFunc : public LibraryFunction
{
public:
    PanelCommandFunc(const QString &name, const char *prefix)
        : LibraryFunction(name)
        , m_prefix(prefix)
    {}
    void call(const ArgumentList &arguments) override;

private:
    const char *m_prefix;
};

/// reboot(target): a device or a whole number; 0 is this controller, any other target does nothing.
class RebootFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// get_system_number(): of this controller.
class GetSystemNumberFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// set_virtual_channel_count(device, count), set_virtual_level_count(device, count): nothing depends on what they say.
class SetVirtualCountFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};
