#include "net/link/LinkRequests.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/MonitorHistory.h"
#include "base/Overloaded.h"
#include "base/SystemNumber.h"
#include "net/link/ConnectionRegistry.h"
#include "net/link/MonitorPast.h"
#include <QDateTime>

#include <functional>

namespace {
void sayFailed(SocketClient &client, const LinkServices::Problem &problem)
{
    if (problem) {
        client.sendPlain(LinkCode::kTextReply, "failed:" + problem->toUtf8());
    }
}

void logRequest(const QString &text)
{
    monitorLog(MonitorMessageType::Connection, text);
}
} // namespace

LinkRequests::LinkRequests(const LinkHooks &hooks, ConnectionRegistry &registry, Backlog &backlog)
    : m_hooks(hooks)
    , m_registry(registry)
    , m_backlog(backlog)
{}

void LinkRequests::take(SocketClient &client, const QByteArray &text)
{
    if (const std::optional<Management::Command> known = Management::parse(text)) {
        perform(client, *known);
    }
}

LinkRequests::Problem LinkRequests::changeSystemNumber(int number)
{
    if (!isSystemNumber(number)) {
        return std::nullopt;
    }
    const LinkServices::Problem problem = m_hooks.services.setSystemNumber(number);
    m_registry.visitType(PeerType::kController, [](SocketClient &client) { client.close(); });
    return problem;
}

void LinkRequests::changeNetwork(const HostNetwork &network, const QString &mac, LinkServices::Trial trial,
                                 const std::weak_ptr<SocketClient> &asker)
{
    m_hooks.services.setNetwork(network, mac, trial, [this, asker](const QString &problem) {
        if (problem.isEmpty()) {
            rebootUnless(std::nullopt);
            return;
        }
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages", "The network stays as it was: %1")).arg(problem));
        if (const auto client = asker.lock()) {
            client->sendPlain(LinkCode::kTextReply, "network:" + problem.toUtf8());
        }
    });
}

LinkRequests::Problem LinkRequests::setMacAddress(const QString &mac)
{
    return rebootUnless(m_hooks.services.setMac(mac));
}

void LinkRequests::perform(SocketClient &client, const Management::Command &command)
{
    using namespace Management;
    const auto reply = [&client](const QByteArray &text) { client.sendPlain(LinkCode::kTextReply, text); };
    const auto trialOf = [](bool isTried) {
        return isTried ? LinkServices::Trial::Wanted : LinkServices::Trial::Never;
    };
    const auto replyWhenFailed = [&client](const LinkServices::Problem &problem) { sayFailed(client, problem); };
    const auto request = [this, &client](int textBytes, auto job) {
        m_backlog.post(client.shared_from_this(), textBytes, Backlog::Kind::Request, std::move(job));
    };
    const auto requestPorts = [&](int textBytes, std::function<LinkServices::Problem()> change) {
        request(textBytes, [this, weak = client.weak_from_this(), change = std::move(change)] {
            const LinkServices::Problem problem = change();
            if (const auto asker = weak.lock()) {
                sayFailed(*asker, problem);
                asker->sendPlain(LinkCode::kTextReply, "ports:" + m_hooks.services.ports());
            }
        });
    };
    const Overloaded performers{
        [&](const SetSystemNumber &set) {
            logRequest(translated(QT_TRANSLATE_NOOP("messages", "Set system number")));
            replyWhenFailed(changeSystemNumber(set.number));
        },
        [&](const Reboot &) {
            logRequest(translated(QT_TRANSLATE_NOOP("messages", "Reboot device")));
            m_hooks.services.reboot();
        },
        [&](const UseDhcp &use) {
            logRequest(translated(QT_TRANSLATE_NOOP("messages", "Change to DHCP mode")));
            changeNetwork({}, use.mac, trialOf(use.isTried), client.weak_from_this());
        },
        [&](const UseStaticIp &use) {
            logRequest(translated(QT_TRANSLATE_NOOP("messages", "Set ip address: %1")).arg(use.ip));
            changeNetwork({ false, use.ip, use.netmask, use.gateway, use.dns }, use.mac, trialOf(use.isTried),
                          client.weak_from_this());
        },
        [&](const AskDateTime &) {
            const QDateTime now = QDateTime::currentDateTime();
            reply("datetime:" + now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toLatin1());
        },
        [&](const SetDateTime &set) {
            request(set.text.size(), [this, text = set.text] { m_hooks.services.setDateTime(text); });
            reply("datetimeSet");
        },
        [&](const AskIrCode &ask) { request(0, [this, number = ask.number] { m_hooks.replies.queryIRCode(number); }); },
        [&](const AskListenAddresses &) {
            reply("listening:" + m_hooks.services.listenAddresses().join(QLatin1Char('\n')).toUtf8());
        },
        [&](const AskListenStatus &ask) {
            request(ask.text.size(), [this, weak = client.weak_from_this(), text = ask.text] {
                const LinkServices::Problem problem =
                    text.trimmed().isEmpty() ? std::nullopt
                                             : m_hooks.services.setListenAddresses(text.split(QLatin1Char('\n')));
                if (const auto asker = weak.lock()) {
                    sayFailed(*asker, problem);
                    asker->sendPlain(LinkCode::kTextReply, "listenstatus:" + m_hooks.services.listenStatus());
                }
            });
        },
        [&](const AskPorts &) { requestPorts(0, [] { return std::nullopt; }); },
        [&](const DetectDevices &) {
            request(0, [this, weak = client.weak_from_this()] {
                if (const auto asker = weak.lock()) {
                    asker->sendPlain(LinkCode::kTextReply, "portdetect:" + m_hooks.services.detectedDevices());
                }
            });
        },
        [&](const SetPort &set) {
            requestPorts(set.lines.join(QString()).size(),
                         [this, set] { return m_hooks.services.setPort(set.port, set.lines); });
        },
        [&](const PutIntoPort &put) {
            requestPorts(put.data ? put.data->size() : 0, [this, put]() -> LinkServices::Problem {
                return put.data ? m_hooks.services.putIntoPort(put.port, *put.data)
                                : translated(QT_TRANSLATE_NOOP("messages", "the input is not in hexadecimal"));
            });
        },
        [&](const AskProgram &ask) {
            request(ask.question.size(), [this, weak = client.weak_from_this(), question = ask.question] {
                const QByteArray answer = m_hooks.services.answerQuestion(question);
                if (const auto asker = weak.lock()) {
                    asker->sendPlain(LinkCode::kTextReply, "program:" + answer);
                }
            });
        },
        [&](const AskMonitorHistory &ask) { tellPast(client, ask.ageMs); },
    };
    std::visit(performers, command);
}

void LinkRequests::tellPast(SocketClient &client, qint64 ageMs) const
{
    const auto reply = [&client](const MonitorPast::Reply &told) {
        client.sendPlain(LinkCode::kTextReply, MonitorPast::encode(told));
    };
    if (!m_history) {
        reply(MonitorPast::NotKept());
        return;
    }
    // Only the seam is sent under the lock of the history: lines of other threads wait no longer than that.
    const MonitorHistory::Past past =
        m_history->since(QDateTime::currentMSecsSinceEpoch(), ageMs, [&reply](const MonitorHistory::Past &asked) {
            reply(MonitorPast::Seam{ asked.nowMs, asked.lostUntilMs });
        });
    for (const MonitorPast::Lines &page : MonitorPast::pages(past.lines)) {
        reply(page);
    }
    reply(MonitorPast::End());
}

LinkRequests::Problem LinkRequests::rebootUnless(const Problem &problem)
{
    if (!problem) {
        monitorLog(MonitorMessageType::System, translated(QT_TRANSLATE_NOOP("messages", "Reboot device")));
        m_hooks.services.reboot();
    }
    return problem;
}
