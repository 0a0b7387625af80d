#include "message/Message.h"

#include <QtTest>

#include <climits>

class tst_Message : public QObject
{
    Q_OBJECT

private slots:
    void directOverloads();
    void variantArguments_data();
    void variantArguments();
    void takeFirst_data();
    void takeFirst();
};

void tst_Message::directOverloads()
{
    QVERIFY(Message().data.isNull());
    Message mixed;
    mixed.addArgument(QByteArray("ab"));
    mixed.addArgument(-7);
    mixed.addArgument(QByteArray());
    QCOMPARE(mixed.data, QByteArray("2:abi-7e0:"));

    Message extremes;
    extremes.addArgument(INT_MIN);
    extremes.addArgument(0);
    extremes.addArgument("h\xc3\xa9llo");
    extremes.addArgument(static_cast<const char *>(nullptr));
    QCOMPARE(extremes.data, QByteArray("i-2147483648ei0e6:h\xc3\xa9llo0:"));

    QCOMPARE(Message(QByteArray("x")).data, QByteArray("1:x"));
    QCOMPARE(Message(QByteArray("2:ab")).data, QByteArray("4:2:ab")); // never adopted as encoded
}

void tst_Message::variantArguments_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("int is an integer element") << QVariant(42) << QByteArray("i42e");
    QTest::newRow("negative int") << QVariant(-42) << QByteArray("i-42e");
    QTest::newRow("unsigned travels as text") << QVariant(42u) << QByteArray("2:42");
    QTest::newRow("64-bit travels as text") << QVariant(qlonglong(42)) << QByteArray("2:42");
    QTest::newRow("bool") << QVariant(true) << QByteArray("4:true");
    QTest::newRow("double") << QVariant(1.5) << QByteArray("3:1.5");
    QTest::newRow("string as UTF-8") << QVariant(QStringLiteral("é")) << QByteArray("2:\xc3\xa9");
    QTest::newRow("byte array") << QVariant(QByteArray("i1e")) << QByteArray("3:i1e");
    QTest::newRow("invalid") << QVariant() << QByteArray("0:");
}

void tst_Message::variantArguments()
{
    QFETCH(QVariant, value);
    Message message;
    message.addArgument(value);
    QTEST(message.data, "expected");
}

void tst_Message::takeFirst_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("left");

    const auto row = [](const char *what, const QByteArray &buffer, const QVariant &value,
                        const QByteArray &left) {
        QTest::newRow(what) << buffer << value << left;
    };
    row("byte string, then integer remains", "3:abci5e", QByteArray("abc"), "i5e");
    row("integer", "i5e", 5, "");
    row("byte string holding a colon", "3:a:bi1e", QByteArray("a:b"), "i1e");
    row("integer, then text holding an e", "i5e2:ee", 5, "2:ee");
    row("empty buffer", QByteArray(), QVariant(), QByteArray());
    row("count past the end", "5:ab", QByteArray("ab"), "");
    row("no colon consumes nothing", "12", QByteArray(), "12");
    row("integer without e consumes nothing", "i12", 12, "i12");
    row("integer with stray characters", "i1x2e", 0, "");
    row("integer out of int range", "i2147483648e5:", 0, "5:");
    row("count that is no number", "1x:abc", QByteArray(), "abc");
    row("huge count", "2147483647:ab", QByteArray("ab"), "");
    row("unknown first byte", "x1:a", QVariant(), "x1:a");
    row("minus first", "-1e", QVariant(), "-1e");
    row("high byte first", "\xc3\xa9", QVariant(), "\xc3\xa9");
    row("empty byte string", "0:", QByteArray(), "");
    row("colon found past a later element", "1i5e:", QByteArray(), "");
}

void tst_Message::takeFirst()
{
    QFETCH(QByteArray, buffer);
    QFETCH(QVariant, value);
    const QVariant taken = Message::takeFirst(&buffer);
    QCOMPARE(taken.isValid(), value.isValid());
    QCOMPARE(taken.type(), value.type());
    QCOMPARE(taken, value);
    QTEST(buffer, "left");
}

QTEST_GUILESS_MAIN(tst_Message)
#include "tst_message.moc"
