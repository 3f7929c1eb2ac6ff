#pragma once
#include <QString>

/// What the compiler knows of the built-ins besides their table: the kinds of their arguments, and what they do.

enum class ArgumentKind : char {
    Any = 'x',
    Number = 'n',
    Text = 't', // or any array
};

ArgumentKind argumentKind(const QString &function, size_t index);
bool givesText(const QString &function);
bool hasEffects(const QString &function); // on variables, devices, sockets or files; or it waits for an answer
