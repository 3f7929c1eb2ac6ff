#include "net/link/DuplicateFilter.h"

bool DuplicateFilter::isNew(quint32 messageId, qint64 nowMs)
{
    if (m_received.contains(messageId)) {
        return false;
    }
    while (!m_order.empty() && nowMs - m_order.front().receivedMs > kRememberMs) {
        m_received.remove(m_order.front().messageId);
        m_order.pop_front();
    }
    m_received.insert(messageId, nowMs);
    m_order.push_back({ messageId, nowMs });
    return true;
}
