#pragma once
#include <QByteArray>

#include <algorithm>
#include <map>
#include <random>

/// Bytes from one end of a transfer to the other in virtual time: cut, held back, doubled or changed at places that a
/// seed decides. What it did is told, so that a test can tell a clean run from a troubled one.
class TransferWire
{
public:
    struct Faults
    {
        int cuts = 0; // places in the stream; each other kind likewise
        int delays = 0;
        int duplicates = 0;
        int corruptions = 0;
    };

    TransferWire(std::mt19937 &random, const Faults &faults, qint64 streamBytes)
    {
        const auto place = [&](int count, char kind) {
            for (; count > 0; --count) {
                m_faults.emplace(std::uniform_int_distribution<qint64>(0, std::max<qint64>(streamBytes, 1))(random),
                                 kind);
            }
        };
        place(faults.cuts, 'x');
        place(faults.delays, 'w');
        place(faults.duplicates, '2');
        place(faults.corruptions, '!');
        m_random.seed(random());
    }

    bool isCut() const { return m_isCut; }

    void send(const QByteArray &bytes, qint64 nowMs)
    {
        QByteArray piece;
        for (const char byte : bytes) {
            const auto fault = m_faults.find(m_sent++);
            if (m_isCut) {
                return;
            }
            piece += byte;
            if (fault == m_faults.end()) {
                continue;
            }
            switch (fault->second) {
            case 'x':
                m_isCut = true;
                break;
            case 'w':
                m_delayMs = std::uniform_int_distribution<qint64>(1, 4000)(m_random);
                break;
            case '2': {
                const int count = std::uniform_int_distribution<int>(1, piece.size())(m_random);
                piece += piece.right(count);
                break;
            }
            case '!':
                piece[piece.size() - 1] =
                    static_cast<char>(byte ^ std::uniform_int_distribution<int>(1, 255)(m_random));
                break;
            }
        }
        m_dueMs = std::max(m_dueMs, nowMs + 1 + std::exchange(m_delayMs, 0));
        m_underWay.emplace(m_dueMs, piece);
    }

    QByteArray arrived(qint64 nowMs)
    {
        QByteArray bytes;
        while (!m_underWay.empty() && m_underWay.begin()->first <= nowMs) {
            bytes += m_underWay.begin()->second;
            m_underWay.erase(m_underWay.begin());
        }
        return bytes;
    }

private:
    std::map<qint64, char> m_faults; // by position in the stream
    std::multimap<qint64, QByteArray> m_underWay;
    std::mt19937 m_random;
    qint64 m_sent = 0;
    qint64 m_dueMs = 0;
    qint64 m_delayMs = 0;
    bool m_isCut = false;
};
