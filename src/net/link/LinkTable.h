#pragma once
#include "net/link/LinkCodes.h"
#include <QByteArray>

#include <algorithm>
#include <array>
#include <vector>

/// One message of the link. A message that is confirmed has an id in front of its body, is sent again until the peer
/// confirms it, and takes effect once; all others are sent once.
struct LinkMessageRow
{
    enum class To : quint8 { Peer, Controller, Both };
    enum class Confirmed : quint8 { No, Yes };

    quint8 code = 0;
    To to = To::Both;
    Confirmed confirmed = Confirmed::No;
    const char *name = "";                // as the tools show it
    const char *prefix = "";              // of the body, with its ":"
    std::array<const char *, 4> fields{}; // joined by ":", the last one with any ":" in it; none: a form of its own

    constexpr bool goesTo(To other) const { return to == To::Both || to == other; }
    constexpr size_t fieldCount() const
    {
        return static_cast<size_t>(std::count_if(fields.begin(), fields.end(), [](auto *field) { return field; }));
    }
};

/// Every message but those of file transfers and port tests, which have codecs of their own. Whoever builds a body,
/// reads one, or has to know whether it is confirmed looks here. Source: docs/formats/link-frame.md.
inline constexpr auto kLinkMessages = [] {
    using enum LinkMessageRow::To;
    using enum LinkMessageRow::Confirmed;
    using namespace LinkCode;
    return std::to_array<LinkMessageRow>({
        { kInformationRequest, Controller, No, "information-request" },
        { kInformation, Peer, No, "information", "", { "text" } },
        { kMonitorLine, Peer, No, "monitor-line" },
        { kHeartbeat, Controller, No, "heartbeat" },
        { kHeartbeatAnswer, Peer, No, "heartbeat-answer" },
        { kIdentify, Peer, No, "identify" },
        { kHandshake, Controller, No, "handshake", "", { "type", "number", "name", "version" } },
        { kAcknowledgement, Both, No, "acknowledgement" },
        { kTextCommand, Controller, No, "text-command", "", { "text" } },
        { kTextReply, Peer, No, "reply", "", { "text" } },
        { kController, Both, Yes, "controller" },

        { kPush, Controller, Yes, "push", "", { "device", "channel", "level" } },
        { kRelease, Controller, Yes, "release", "", { "device", "channel", "level" } },
        { kLevelReport, Controller, Yes, "level-report", "", { "device", "channel", "level", "value" } },

        { kStatusQuery, Peer, No, "status-query", "", { "channel" } },
        { kStatusReply, Controller, No, "status-reply", "", { "device", "channel", "status" } },
        { kTextQuery, Peer, No, "text-query", "text:", { "channel", "state" } },
        { kButtonTextReply, Controller, No, "text-reply", "text:", { "channel", "state", "text" } },
        { kPropertyQuery, Peer, No, "property-query", "property:", { "channel", "property" } },
        { kPropertyReply, Controller, No, "property-reply", "property:", { "channel", "property", "value" } },
        { kStatePropertyQuery, Peer, No, "state-property-query", "stateproperty:", { "channel", "state", "property" } },
        { kStatePropertyReply,
          Controller,
          No,
          "state-property-reply",
          "stateproperty:",
          { "channel", "state", "property", "value" } },
        { kPagePropertyQuery, Peer, No, "page-property-query", "pageproperty:", { "page", "property" } },
        { kPagePropertyReply, Controller, No, "page-property-reply", "pageproperty:", { "page", "property", "value" } },

        { kChannelStatus, Peer, Yes, "feedback" },
        { kListStatus, Peer, Yes, "feedback-list", "", { "channel", "status", "channels" } },
        { kLevel, Peer, Yes, "level" },
        { kCommand, Peer, Yes, "command", "", { "text" } },
        { kSnapshot, Peer, No, "snapshot" },
        { kSetProperty, Peer, Yes, "set-property", "setproperty:", { "channels", "property", "value" } },
        { kSetStateProperty,
          Peer,
          Yes,
          "set-state-property",
          "setstateproperty:",
          { "channels", "property", "state", "value" } },
        { kSetPageProperty, Peer, Yes, "set-page-property", "setpageproperty:", { "page", "property", "value" } },
        { kSetContainerProperty,
          Peer,
          Yes,
          "set-container-property",
          "setcontainerproperty:",
          { "channels", "property", "value" } },
        { kContainerCall, Peer, Yes, "container-call", "containercall:", { "channels", "method", "value" } },
    });
}();

/// nullptr: there is none.
constexpr const LinkMessageRow *findLinkMessage(quint8 code, LinkMessageRow::To to)
{
    const auto *const row = std::find_if(kLinkMessages.begin(), kLinkMessages.end(), [=](const LinkMessageRow &each) {
        return each.code == code && each.goesTo(to);
    });
    return row != kLinkMessages.end() ? row : nullptr;
}

/// Whether a message that goes there is confirmed. One load: it is asked for every frame.
template <LinkMessageRow::To to>
bool isConfirmed(quint8 code)
{
    static constexpr auto confirmed = [] {
        std::array<bool, 256> codes{};
        for (const LinkMessageRow &row : kLinkMessages) {
            codes.at(row.code) |= row.goesTo(to) && row.confirmed == LinkMessageRow::Confirmed::Yes;
        }
        return codes;
    }();
    return confirmed[code];
}

template <quint8 code>
constexpr const LinkMessageRow &linkMessage()
{
    constexpr const auto *row = std::find_if(kLinkMessages.begin(), kLinkMessages.end(),
                                             [](const LinkMessageRow &each) { return each.code == code; });
    static_assert(row != kLinkMessages.end());
    return *row;
}

/// A body: the prefix, then the parts (bytes or numbers) joined by ":". Their number is checked while compiling.
template <quint8 code, class First, class... More>
QByteArray linkBody(const First &first, const More &...more)
{
    constexpr LinkMessageRow row = linkMessage<code>();
    static_assert(row.fieldCount() == 0 || row.fieldCount() == 1 + sizeof...(more));
    const auto text = [](const auto &part) {
        if constexpr (std::is_convertible_v<decltype(part), QByteArray>) {
            return QByteArray(part);
        } else {
            return QByteArray::number(part);
        }
    };
    QByteArray joined = *row.prefix ? row.prefix + text(first) : text(first);
    ((joined += ':', joined += text(more)), ...);
    return joined;
}

/// The fields of a body, as many as the row has; empty when the prefix or one of them is missing.
std::vector<QByteArray> linkFields(const LinkMessageRow &row, const QByteArray &body);
