#pragma once
#include <QRegularExpression>
#include <QString>

#include <string>
#include <variant>
#include <vector>

/// Which monitor lines are shown: those that every condition holds for.
struct MonitorFilter
{
    std::vector<int> types;      // of these; empty: of any
    std::vector<int> otherTypes; // and of none of these
    QString text;                // in which this occurs, in capitals or not
    QRegularExpression pattern;  // and in which this finds something

    bool shows(int type, const QString &line) const;
};

struct MonitorFilterWords
{
    std::vector<std::string> types; // names
    std::vector<std::string> otherTypes;
    std::string text;
    std::string regex;
};

/// Reads the words of the command line; otherwise a text says what is wrong with them.
std::variant<MonitorFilter, std::string> parseMonitorFilter(const MonitorFilterWords &words);
