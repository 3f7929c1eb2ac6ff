#include "base/PanelProperties.h"

#include <QHash>

#include <array>
#include <initializer_list>

namespace {
using Table = QHash<QByteArray, PropertyType>;

struct Property
{
    const char *name;
    PropertyType type;
};

constexpr PropertyType kNumber = PropertyType::Number;
constexpr PropertyType kText = PropertyType::Text;

constexpr Property kButton[] = {
    { "name", kText },
    { "desc", kText },
    { "top", kNumber },
    { "left", kNumber },
    { "width", kNumber },
    { "height", kNumber },
    { "enable", kNumber },
    { "visible", kNumber },
    { "rotate", kNumber },
    { "rotatecenter", kNumber },
    { "password", kNumber },
    { "soundname", kText },
    { "layer", kNumber },
    { "feedback", kNumber },
    { "animateinterval", kNumber },
    { "animaterepeat", kNumber },
    { "orientation", kNumber },
    { "rangelow", kNumber },
    { "rangehigh", kNumber },
    { "inverted", kNumber },
    { "interactive", kNumber },
    { "rangetimeup", kNumber },
    { "rangetimedown", kNumber },
    { "thumbimage", kText },
    { "thumbvisible", kNumber },
    { "medianame", kText },
    { "mediaurl", kText },
    { "mediamute", kNumber },
};

constexpr Property kState[] = {
    { "fillcolor", kNumber },      { "bordercolor", kNumber },
    { "borderwidth", kNumber },    { "borderradius", kNumber },
    { "backgroundimage", kText },  { "backgroundimagestyle", kNumber },
    { "textcolor", kNumber },      { "text", kText },
    { "texthalignment", kNumber }, { "textvalignment", kNumber },
    { "wordwrap", kNumber },       { "opacity", kNumber },
};

constexpr Property kSettablePage[] = {
    { "desc", kText },   { "width", kNumber },     { "height", kNumber },        { "top", kNumber },
    { "left", kNumber }, { "fillcolor", kNumber }, { "backgroundimage", kText }, { "backgroundimagestyle", kNumber },
};

template <size_t count>
Table tableOf(const Property (&rows)[count], std::initializer_list<Property> more = {})
{
    Table table;
    for (const Property &row : rows) {
        table.insert(row.name, row.type);
    }
    for (const Property &row : more) {
        table.insert(row.name, row.type);
    }
    return table;
}

const Table &tableFor(PropertyKind kind)
{
    static const Table button = tableOf(kButton);
    static const Table settableButton = tableOf(kButton, { { "listitems", kText } });
    static const Table state = tableOf(kState);
    static const Table page = tableOf(kSettablePage, { { "name", kText } });
    static const Table settablePage = tableOf(kSettablePage);
    switch (kind) {
    case PropertyKind::Button:
        return button;
    case PropertyKind::SettableButton:
        return settableButton;
    case PropertyKind::State:
        return state;
    case PropertyKind::Page:
        return page;
    case PropertyKind::SettablePage:
        return settablePage;
    }
    Q_UNREACHABLE();
}
} // namespace

std::optional<PropertyType> panelPropertyType(PropertyKind kind, const QByteArray &name)
{
    const Table &table = tableFor(kind);
    const auto found = table.constFind(name);
    return found == table.constEnd() ? std::nullopt : std::optional(*found);
}
