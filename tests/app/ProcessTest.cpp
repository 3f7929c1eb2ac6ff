#include <QtTest>
class ProcessTest : public QObject
{
    Q_OBJECT
};
QTEST_GUILESS_MAIN(ProcessTest)
#include "ProcessTest.moc"
