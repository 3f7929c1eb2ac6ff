#pragma once
#include "library/LibraryFunction.h"

class QDate;
class QTime;

/// One field of a date "MM/dd/yy" of the years 2000 to 2099; 0 when the text is no such date.
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

class DateToDayFunc : public DateFieldFunc
{
public:
    explicit DateToDayFunc(const QString &name);
};

class DateToMonthFunc : public DateFieldFunc
{
public:
    explicit DateToMonthFunc(const QString &name);
};

class DateToYearFunc : public DateFieldFunc
{
public:
    explicit DateToYearFunc(const QString &name);
};

class DayOfWeekFunc : public DateFieldFunc // Monday is 1
{
public:
    explicit DayOfWeekFunc(const QString &name);
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

class TimeToHourFunc : public TimeFieldFunc
{
public:
    explicit TimeToHourFunc(const QString &name);
};

class TimeToMinuteFunc : public TimeFieldFunc
{
public:
    explicit TimeToMinuteFunc(const QString &name);
};

class TimeToSecondFunc : public TimeFieldFunc
{
public:
    explicit TimeToSecondFunc(const QString &name);
};
