#pragma once
#include <QString>

/// A program name, interned: trimmed and upper-cased once, then compared as an integer.
/// Thread: names are made on the main thread only (loader, compiler, tests).
class Name
{
public:
    Name() = default;                   // the empty name
    explicit Name(const QString &text); // any case, blanks around it allowed

    QString text() const { return textOf(m_id); } // normalised
    static QString textOf(int id);                // of the name with that id
    bool isEmpty() const { return m_id == 0; }
    int id() const { return m_id; } // 0 is the empty name; ids count up from 1

    friend bool operator==(Name a, Name b) { return a.m_id == b.m_id; }
    friend bool operator!=(Name a, Name b) { return a.m_id != b.m_id; }

private:
    int m_id = 0;
};

/// Trimmed and upper-cased, the form in which names are stored and looked up.
QString normalisedName(const QString &text);
