#include "net/porttest/PortTests.h"

#include "net/link/LinkCodes.h"
#include "net/link/SocketClient.h"

PortTestSession::PortTestSession(std::weak_ptr<SocketClient> peer, bool reports)
    : m_peer(std::move(peer))
    , m_reports(reports)
{}

void PortTestSession::perform(const PortTest::Request &request)
{
    std::visit([this](const auto &wish) { perform(wish); }, request);
}

void PortTestSession::perform(const PortTest::Start &start)
{
    endpoint(start.kind).start(start.host, start.port);
}

void PortTestSession::perform(const PortTest::Stop &stop)
{
    if (m_endpoints.erase(stop.kind) > 0 && stop.wantsReport) {
        report(PortTest::State{ stop.kind, false });
    }
}

void PortTestSession::perform(const PortTest::Send &send)
{
    if (const auto found = m_endpoints.find(send.kind); found != m_endpoints.end()) {
        found->second->send(send.data);
    }
}

PortTestEndpoint &PortTestSession::endpoint(PortTest::Kind kind)
{
    std::unique_ptr<PortTestEndpoint> &slot = m_endpoints[kind];
    if (!slot) {
        slot = PortTestEndpoint::make(kind);
        connect(slot.get(), &PortTestEndpoint::stateChanged, this, [this, kind](bool isOn) {
            report(PortTest::State{ kind, isOn });
        });
        connect(slot.get(), &PortTestEndpoint::gotData, this, [this, kind](const QByteArray &block) {
            report(PortTest::Data{ kind, block });
        });
    }
    return *slot;
}

void PortTestSession::report(const PortTest::Report &report) const
{
    const auto peer = m_reports ? m_peer.lock() : nullptr;
    if (!peer) {
        return;
    }
    // A flood that the tool does not keep up with must not cost it its connection.
    if (std::holds_alternative<PortTest::State>(report) || !peer->isBackedUp()) {
        peer->sendPlain(LinkCode::kPortTestReport, PortTest::encodeReport(report));
    }
}

PortTests::PortTests()
    : m_worker(new Worker)
{
    m_worker->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
}

PortTests::~PortTests()
{
    if (m_isStarted) {
        m_thread.quit();
        m_thread.wait();
    } else {
        delete m_worker;
    }
}

void PortTests::request(SocketClient &peer, const QByteArray &body)
{
    const std::optional<PortTest::Request> request = PortTest::parseRequest(body);
    if (!request) {
        return;
    }
    std::call_once(m_onceStarted, [this] {
        m_thread.start();
        m_isStarted = true;
    });
    const bool reports = peer.peerType() == PeerType::kManagementTool;
    const auto perform = [sessions = &m_worker->sessions, key = &peer, weak = peer.weak_from_this(), reports,
                          request = *request] {
        std::unique_ptr<PortTestSession> &session = (*sessions)[key];
        if (!session) {
            session = std::make_unique<PortTestSession>(weak, reports);
        }
        session->perform(request);
    };
    QMetaObject::invokeMethod(m_worker, perform, Qt::QueuedConnection);
}

void PortTests::peerClosed(SocketClient &peer)
{
    if (m_isStarted) {
        QMetaObject::invokeMethod(
            m_worker, [sessions = &m_worker->sessions, key = &peer] { sessions->erase(key); }, Qt::QueuedConnection);
    }
}
