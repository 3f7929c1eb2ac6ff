#pragma once
#include "library/LibraryFunction.h"

class QDate;
class QTime;

/// One field of a date "MM/dd/yy" of the years 2000 to 2099; 0 when the text is no such date. Of
/// the days of the week Monday is 1.
class DateFieldFunc : public QuietFunction
{
public:
    using Field = int (*)(const QDate &date);
    DateFieldFunc(const QString &name, Field field)
        : QuietFunction(name)
        , m_field(field)
    {}
    void call(const ArgumentList &arguments) override;

private:
    Field m_field;
};

/// One field of a time "hh:mm:ss" or "hh:mm"; no result when the text is no such time.
class TimeFieldFunc : public QuietFunction
{
public:
    using Field = int (QTime::*)() const;
    TimeFieldFunc(const QString &name, Field field)
        : QuietFunction(name)
        , m_field(field)
    {}
    void call(const ArgumentList &arguments) override;

private:
    Field m_field;
};
