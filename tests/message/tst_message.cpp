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
    QFETCH(QByteArray, expected);
    Message message;
    message.addArgument(value);
    QCOMPARE(message.data, expected);
}

void tst_Message::takeFirst_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("left");

    QTest::newRow("byte string, then integer remains")
            << QByteArray("3:abci5e") << QVariant(QByteArray("abc")) << QByteArray("i5e");
    QTest::newRow("integer") << QByteArray("i5e") << QVariant(5) << QByteArray("");
    QTest::newRow("byte string holding a colon")
            << QByteArray("3:a:bi1e") << QVariant(QByteArray("a:b")) << QByteArray("i1e");
    QTest::newRow("integer, then text holding an e")
            << QByteArray("i5e2:ee") << QVariant(5) << QByteArray("2:ee");
    QTest::newRow("empty buffer") << QByteArray() << QVariant() << QByteArray();
    QTest::newRow("count past the end")
            << QByteArray("5:ab") << QVariant(QByteArray("ab")) << QByteArray("");
    QTest::newRow("no colon consumes nothing")
            << QByteArray("12") << QVariant(QByteArray()) << QByteArray("12");
    QTest::newRow("integer without e consumes nothing")
            << QByteArray("i12") << QVariant(12) << QByteArray("i12");
    QTest::newRow("integer with stray characters")
            << QByteArray("i1x2e") << QVariant(0) << QByteArray("");
    QTest::newRow("integer out of int range")
            << QByteArray("i2147483648e5:") << QVariant(0) << QByteArray("5:");
    QTest::newRow("count that is no number")
            << QByteArray("1x:abc") << QVariant(QByteArray()) << QByteArray("abc");
    QTest::newRow("huge count") << QByteArray("2147483647:ab") << QVariant(QByteArray("ab"))
                                << QByteArray("");
    QTest::newRow("unknown first byte") << QByteArray("x1:a") << QVariant() << QByteArray("x1:a");
    QTest::newRow("minus first") << QByteArray("-1e") << QVariant() << QByteArray("-1e");
    QTest::newRow("high byte first")
            << QByteArray("\xc3\xa9") << QVariant() << QByteArray("\xc3\xa9");
    QTest::newRow("empty byte string")
            << QByteArray("0:") << QVariant(QByteArray()) << QByteArray("");
    QTest::newRow("colon found past a later element")
            << QByteArray("1i5e:") << QVariant(QByteArray()) << QByteArray("");
}

void tst_Message::takeFirst()
{
    QFETCH(QByteArray, buffer);
    QFETCH(QVariant, value);
    QFETCH(QByteArray, left);
    const QVariant taken = Message::takeFirst(&buffer);
    QCOMPARE(taken.isValid(), value.isValid());
    QCOMPARE(taken.type(), value.type());
    QCOMPARE(taken, value);
    QCOMPARE(buffer, left);
}

QTEST_GUILESS_MAIN(tst_Message)
#include "tst_message.moc"
