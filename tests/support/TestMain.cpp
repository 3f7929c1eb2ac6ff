// The test program of a floor: TESTS [CLASS [ARGUMENT OF QTEST...]]. Without a class all of them run in turn.
#include "support/TestClass.h"

#include <cstdio>
#include <map>

namespace {
std::map<QString, TestClass::Run> &classes() // made by whichever is known first
{
    static std::map<QString, TestClass::Run> all;
    return all;
}
} // namespace

TestClass::TestClass(const char *name, Run run)
{
    classes().emplace(QString::fromLatin1(name), run);
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments();
    if (arguments.size() < 2) {
        int failures = 0;
        for (const auto &[name, run] : classes()) {
            failures += run(arguments) != 0;
        }
        return failures;
    }
    const auto found = classes().find(arguments.takeAt(1));
    if (found == classes().end()) {
        std::fputs("There is no such class of tests here. There are:\n", stderr);
        for (const auto &[name, run] : classes()) {
            std::fprintf(stderr, "  %s\n", qUtf8Printable(name));
        }
        return 2;
    }
    return found->second(arguments);
}
