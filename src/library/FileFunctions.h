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
/// on; those that it does not have are skipped, and its length stays.
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

class FileReadFunc : public FileInputFunc
{
public:
    explicit FileReadFunc(const QString &name)
        : FileInputFunc(name, Unit::Bytes)
    {}
};

class FileReadLineFunc : public FileInputFunc // at most count - 1 bytes, with the line feed
{
public:
    explicit FileReadLineFunc(const QString &name)
        : FileInputFunc(name, Unit::Line)
    {}
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

class FileWriteFunc : public FileOutputFunc
{
public:
    explicit FileWriteFunc(const QString &name)
        : FileOutputFunc(name, "")
    {}
};

class FileWriteLineFunc : public FileOutputFunc
{
public:
    explicit FileWriteLineFunc(const QString &name)
        : FileOutputFunc(name, "\r")
    {}
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

class FileRenameFunc : public FileTransferFunc
{
public:
    explicit FileRenameFunc(const QString &name);
};

/// file_delete(name)
class FileDeleteFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};
