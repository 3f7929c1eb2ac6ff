#include "net/link/ResendTable.h"

#include <algorithm>

void ResendTable::add(quint32 messageId, const QByteArray &frame, qint64 nowMs)
{
    place({ messageId, nowMs, frame, std::nullopt });
}

void ResendTable::addLevel(quint32 messageId, int levelCode, const QByteArray &frame, qint64 nowMs)
{
    if (const auto older = m_levelMessages.constFind(levelCode); older != m_levelMessages.constEnd()) {
        acknowledge(*older);
    }
    m_levelMessages.insert(levelCode, messageId);
    place({ messageId, nowMs, frame, levelCode });
}

bool ResendTable::acknowledge(quint32 messageId)
{
    if (messageId == 0 || m_inUse == 0) {
        return false;
    }
    const auto hasId = [messageId](const Entry &entry) { return entry.messageId == messageId; };
    if (const auto slot = std::find_if(m_slots.begin(), m_slots.end(), hasId); slot != m_slots.end()) {
        release(*slot);
        *slot = Entry();
        return true;
    }
    const auto listed = std::find_if(m_overflow.begin(), m_overflow.end(), hasId);
    if (listed == m_overflow.end()) {
        return false;
    }
    release(*listed);
    m_overflow.erase(listed);
    return true;
}

int ResendTable::forgetOld(qint64 nowMs)
{
    if (m_inUse == 0) {
        return 0;
    }
    const int before = m_inUse;
    const auto isOld = [nowMs](const Entry &entry) { return nowMs - entry.firstSentMs > kForgetAfterMs; };
    for (Entry &slot : m_slots) {
        if (slot.messageId != 0 && isOld(slot)) {
            release(slot);
            slot = Entry();
        }
    }
    while (!m_overflow.empty() && isOld(m_overflow.front())) { // the oldest is in front
        release(m_overflow.front());
        m_overflow.pop_front();
    }
    return before - m_inUse;
}

QByteArray ResendTable::dueFrames(qint64 nowMs) const
{
    QByteArray due;
    if (m_inUse == 0) {
        return due;
    }
    int count = 0;
    const auto collect = [&](const Entry &entry) {
        if (entry.messageId != 0 && nowMs - entry.firstSentMs >= kResendAfterMs) {
            due += entry.frame;
            ++count;
        }
        return count < kFramesPerTick;
    };
    std::all_of(m_slots.begin(), m_slots.end(), collect);
    if (count < kFramesPerTick - 1) {
        std::all_of(m_overflow.begin(), m_overflow.end(), collect);
    }
    return due;
}

void ResendTable::clear()
{
    m_slots.fill(Entry());
    m_overflow.clear();
    m_levelMessages.clear();
    m_inUse = 0;
    m_bytes = 0;
}

void ResendTable::place(Entry entry)
{
    const bool slotsMayBeFree = m_inUse < kSlots;
    ++m_inUse;
    m_bytes += entry.frame.size();
    if (slotsMayBeFree) {
        const auto isFree = [](const Entry &slot) { return slot.messageId == 0; };
        if (const auto slot = std::find_if(m_slots.begin(), m_slots.end(), isFree); slot != m_slots.end()) {
            *slot = std::move(entry);
            return;
        }
    }
    m_overflow.push_back(std::move(entry));
}

void ResendTable::release(const Entry &entry)
{
    --m_inUse;
    m_bytes -= entry.frame.size();
    if (entry.levelCode && m_levelMessages.value(*entry.levelCode) == entry.messageId) {
        m_levelMessages.remove(*entry.levelCode);
    }
}
