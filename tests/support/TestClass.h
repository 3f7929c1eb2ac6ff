#pragma once
#include <QtTest/QtTest>

/// A class of tests, known by its name to the test program that it is linked into; see TestMain.cpp.
class TestClass
{
public:
    using Run = int (*)(const QStringList &arguments); // as QTest::qExec
    TestClass(const char *name, Run run);
};

/// Stands once in the source of each class of tests.
#define TEST_CLASS(Tests)                                                                                              \
    static const TestClass known##Tests(#Tests, [](const QStringList &arguments) {                                     \
        Tests tests;                                                                                                   \
        return QTest::qExec(&tests, arguments);                                                                        \
    });
