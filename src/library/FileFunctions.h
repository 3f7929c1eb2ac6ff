#pragma once
#include "library/LibraryFunction.h"

class QFile;

// Files of the program, by the handles that file_open gives. Nothing is reported: every outcome is a status number.

/// file_open(name, mode): a handle from 4 up, or a status.
class FileOpenFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// file_close(handle): the handle is not given out again.
class FileCloseFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// FILE_READ(handle, buffer, count), FILE_READ_LINE(handle, buffer, count): bytes go into the buffer's elements from 1
/// on; those that it does not have are skipped, and its length stays. A line has at most count - 1, its line feed
/// included.
class FileInputFunc : public LibraryFunction
{
public:
    enum class Unit { Bytes, Line };
    FileInputFunc(const QString &name, Unit unit)
        : LibraryFunction(name)
        , m_unit(unit)
    {}
    void call(const ArgumentList &arguments) override;

private:
    int read(const ArgumentList &arguments) const;

    Unit m_unit;
};

/// FILE_WRITE(handle, buffer, count), FILE_WRITE_LINE(handle, buffer, count): elements 1 to count, also those behind
/// the buffer's length; a line ends with a carriage return.
class FileOutputFunc : public LibraryFunction
{
public:
    FileOutputFunc(const QString &name, const char *terminator)
        : LibraryFunction(name)
        , m_terminator(terminator)
    {}
    void call(const ArgumentList &arguments) override;

private:
    qint64 write(const ArgumentList &arguments) const;

    const char *m_terminator;
};

/// FILE_SEEK(handle, position): the new position, from 0.
class FileSeekFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;

private:
    static qint64 seek(const ArgumentList &arguments);
};

/// file_copy(source, target), FILE_RENAME(old, new): an existing target is not overwritten.
class FileTransferFunc : public LibraryFunction
{
public:
    using Transfer = bool (*)(const QString &source, const QString &target);
    FileTransferFunc(const QString &name, Transfer transfer)
        : LibraryFunction(name)
        , m_transfer(transfer)
    {}
    void call(const ArgumentList &arguments) override;

private:
    Transfer m_transfer;
};

class FileCopyFunc : public FileTransferFunc
{
public:
    explicit FileCopyFunc(const QString &name);
};

/// file_delete(name)
class FileDeleteFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};
