#include "interp/Preparer.h"
#include "interp/Run.h"
#include "interp/nodes/Expressions.h"
#include "program/AST.h"

// Device addresses as values.

namespace {
/// Something that is a device and never a number.
class DeviceValueCode : public Code
{
public:
    Number number(Run &) const override { return {}; }
};

class ConstantDeviceCode : public DeviceValueCode
{
public:
    explicit ConstantDeviceCode(const DeviceAddress &address, ProgramContext *program)
        : m_device(std::make_unique<Device>(address, program))
    {}
    ValueView view(Run &, ValueRef &) const override { return ValueView::of(m_device.get()); }
    bool isQuiet() const override { return true; }

private:
    std::unique_ptr<Device> m_device;
};

class DevicePartsCode : public DeviceValueCode
{
public:
    explicit DevicePartsCode(std::vector<std::unique_ptr<Code>> parts)
        : m_parts(std::move(parts))
    {}

    ValueView view(Run &run, ValueRef &hold) const override
    {
        DeviceAddress address;
        const auto setPart = [&run, this](size_t index, int &part) {
            const Number number = m_parts[index] ? m_parts[index]->number(run) : Number{};
            part = number.ok ? integerPart32(number.value) : part;
        };
        setPart(0, address.number);
        setPart(1, address.port);
        setPart(2, address.system);
        hold = std::make_shared<Device>(address, &run.program());
        return ValueView::of(hold.get());
    }

private:
    std::vector<std::unique_ptr<Code>> m_parts;
};

class NoDeviceCode : public DeviceValueCode
{
public:
    ValueView view(Run &, ValueRef &) const override { return {}; }
    bool isQuiet() const override { return true; }
};
} // namespace

std::unique_ptr<Code> DeviceExpr::prepare(Preparer &preparer, Context) const
{
    if (device) {
        return std::make_unique<ConstantDeviceCode>(device->address(), &preparer.program());
    }
    if (variable) {
        return preparer.expression(variable);
    }
    if (!parts || parts->items.size() != 3) {
        return std::make_unique<NoDeviceCode>();
    }
    std::vector<std::unique_ptr<Code>> codes;
    for (const auto &part : parts->items) {
        codes.push_back(preparer.expression(part));
    }
    return std::make_unique<DevicePartsCode>(std::move(codes));
}
