#include "app/NetworkSetup.h"

#include "admin/SettingManager.h"
#include "app/SystemScripts.h"
#include "base/Messages.h"
#include "base/Monitor.h"

#include <QDebug>
#include <QNetworkInterface>

namespace {
constexpr int kUseMs = 5000;

void tell(MonitorMessageType type, const QString &text)
{
    qWarning().noquote() << text;
    monitorLog(type, text);
}
} // namespace

NetworkSetup::NetworkSetup(SettingManager &settings, SystemScripts &scripts)
    : m_settings(settings)
    , m_scripts(scripts)
{
    connect(&scripts, &SystemScripts::networkGiven, this, &NetworkSetup::used);
}

void NetworkSetup::start()
{
    const std::optional<HostNetwork> network = m_settings.networkToApply();
    if (!m_scripts.isAllowed() || !network) {
        return;
    }
    if (const std::optional<QString> problem = problemOf(*network)) { // written by hand, or by an older version
        tell(MonitorMessageType::Error,
             translated(QT_TRANSLATE_NOOP("messages", "The network stays as it was: %1")).arg(*problem));
        return;
    }
    m_isStarted = true;
    look();
    if (m_seen.index == 0) {
        tell(MonitorMessageType::Warning,
             translated(QT_TRANSLATE_NOOP("messages", "Waiting for the network interface %1")).arg(m_seen.name));
    }
}

void NetworkSetup::waitUntilUsed()
{
    if (m_isBeingUsed) {
        m_scripts.waitForNetwork(kUseMs);
    }
}

void NetworkSetup::look()
{
    if (!m_isStarted || m_isBeingUsed) {
        return;
    }
    const Link now = link();
    const bool isNew = now.index != 0 && now.index != m_seen.index;
    const bool hasCable = now.isRunning && !m_seen.isRunning;
    m_seen = now;
    if (isNew || hasCable) {
        use();
    }
}

void NetworkSetup::change(const HostNetwork &network, const QString &mac, LinkServices::Trial trial,
                          const LinkServices::NetworkDone &done)
{
    if (const std::optional<QString> problem = problemOf(network)) {
        done(*problem);
        return;
    }
    const std::optional<HostNetwork> former = m_settings.networkToApply();
    if (trial == LinkServices::Trial::Never || !m_scripts.isAllowed() || (former && *former == network)) {
        done(store(network, mac));
        return;
    }
    const std::lock_guard lock(m_trialMutex);
    if (m_isCancelled || m_isTrying.exchange(true)) {
        done(translated(QT_TRANSLATE_NOOP("messages", "another change is being tried")));
        return;
    }
    if (m_trial.joinable()) {
        m_trial.join(); // one that has ended
    }
    m_trial = std::thread([this, network, mac, done] {
        QString problem = SystemScripts::tryNetwork(m_settings.mainInterface(), network, m_isCancelled);
        if (problem.isEmpty()) {
            problem = store(network, mac);
        }
        m_isTrying = false;
        done(problem);
    });
}

void NetworkSetup::endTrial()
{
    m_isCancelled = true;
    const std::lock_guard lock(m_trialMutex);
    if (m_trial.joinable()) {
        m_trial.join();
    }
}

NetworkSetup::Link NetworkSetup::link() const
{
    const QString name = m_settings.mainInterface();
    const QNetworkInterface card = QNetworkInterface::interfaceFromName(name);
    return { name, card.isValid() ? card.index() : 0, card.flags().testFlag(QNetworkInterface::IsRunning) };
}

void NetworkSetup::use()
{
    if (const std::optional<HostNetwork> network = m_settings.networkToApply()) {
        m_isBeingUsed = true;
        m_scripts.useNetwork(m_seen.name, *network);
    }
}

void NetworkSetup::used(bool isInUse)
{
    m_isBeingUsed = false;
    if (isInUse) {
        m_settings.rememberInterface(m_seen.name);
    }
    const int used = m_seen.index;
    m_seen = link(); // the script itself brings the interface up
    if (m_seen.index != 0 && m_seen.index != used) {
        use();
    }
}

QString NetworkSetup::store(const HostNetwork &network, const QString &mac)
{
    const SettingManager::Problem problem =
        network.isDhcp ? m_settings.setDhcp(mac)
                       : m_settings.setStaticIp(network.ip, network.netmask, network.gateway, network.nameServer, mac);
    return problem.value_or(QString());
}
