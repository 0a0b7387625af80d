#include "util/Utils.h"

#include <QDomDocument>
#include <QRandomGenerator>
#include <QtTest>

#include <limits>

#include <sys/mman.h>

class tst_Utils : public QObject
{
    Q_OBJECT

private slots:
    void base64_data();
    void base64();
    void base64RandomRoundTrip();
    void md5_data();
    void md5();
    void readChildEleText_data();
    void readChildEleText();
    void hostileInput_data();
    void hostileInput();
};

void tst_Utils::base64_data()
{
    // bothWays: bytes encode to the text as well as back.
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("bothWays");
    QTest::newRow("both unsafe characters")
            << QByteArray("\xFB\xFF\xBF") << QByteArray("-_-_") << true;
    QTest::newRow("fill kept") << QByteArray(1, '\0') << QByteArray("AA==") << true;
    QTest::newRow("one fill character") << QByteArray("ab") << QByteArray("YWI=") << true;
    QTest::newRow("empty") << QByteArray() << QByteArray() << true;
    QTest::newRow("decoded without fill") << QByteArray(1, '\0') << QByteArray("AA") << false;
    QTest::newRow("plain alphabet decoded")
            << QByteArray("\xFB\xFF\xBF") << QByteArray("+/+/") << false;
    QTest::newRow("foreign characters skipped") << QByteArray("ab") << QByteArray("Y W*I") << false;
}

void tst_Utils::base64()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);
    QFETCH(bool, bothWays);
    QCOMPARE(Orvex::Utils::urlSafeBase64Decode(text), bytes);
    if (bothWays)
        QCOMPARE(Orvex::Utils::urlSafeBase64Encode(bytes), text);
}

void tst_Utils::base64RandomRoundTrip()
{
    const quint32 seed = 20261121;
    QRandomGenerator random(seed);
    for (int length = 0; length < 200; ++length) {
        QByteArray bytes(length, Qt::Uninitialized);
        for (char &byte : bytes)
            byte = char(random.bounded(256));
        const QByteArray encoded = Orvex::Utils::urlSafeBase64Encode(bytes);
        const QByteArray context =
                "seed " + QByteArray::number(seed) + ", length " + QByteArray::number(length);
        QVERIFY2(encoded.size() % 4 == 0 && !encoded.contains('+') && !encoded.contains('/'),
                 context);
        QVERIFY2(Orvex::Utils::urlSafeBase64Decode(encoded) == bytes, context);
    }
}

void tst_Utils::md5_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("digest");
    QTest::newRow("empty") << QString() << "d41d8cd98f00b204e9800998ecf8427e";
    QTest::newRow("abc") << "abc"
                         << "900150983cd24fb0d6963f7d28e17f72";
    QTest::newRow("e acute as one byte")
            << QString(QChar(0xE9)) << "3406877694691ddd1dfb0aca54681407";
    QTest::newRow("outside Latin-1 becomes ?")
            << QString(QChar(0x20AC)) << "d1457b72c3fb323a2671125aef3eab5d";
}

void tst_Utils::md5()
{
    QFETCH(QString, text);
    QFETCH(QString, digest);
    QCOMPARE(Orvex::Utils::toMD5String(text), digest);
}

void tst_Utils::readChildEleText_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("found");
    QTest::newRow("absent") << "none"
                            << "" << false;
    QTest::newRow("grandchild not searched") << "deep"
                                             << "" << false;
    QTest::newRow("empty child") << "empty"
                                 << "" << true;
    QTest::newRow("first of two, descendants' text") << "name"
                                                     << "Orvex suite" << true;
}

void tst_Utils::readChildEleText()
{
    QFETCH(QString, tag);
    QFETCH(QString, text);
    QFETCH(bool, found);
    QDomDocument document;
    QVERIFY(document.setContent(QStringLiteral("<p><empty/><name>Orvex <b>suite</b></name>"
                                               "<name>second</name><x><deep>no</deep></x></p>")));
    for (bool before : {false, true}) {
        bool flag = before;
        const QString result =
                Orvex::Utils::readChildEleText(document.documentElement(), tag, flag);
        QCOMPARE(result, text);
        QCOMPARE(flag, found);
        if (!found)
            QVERIFY(!result.isNull());
    }
}

void tst_Utils::hostileInput_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("one byte more than Qt decodes") << std::numeric_limits<int>::max() / 3 + 1;
    QTest::newRow("2,000,000,000 bytes") << 2000000000;
}

void tst_Utils::hostileInput()
{
    QFETCH(int, size);
    // Zero pages, mapped but never touched: they cost no memory unless the text is copied.
    void *pages = ::mmap(nullptr, size_t(size), PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    QVERIFY(pages != MAP_FAILED);
    const QByteArray decoded = Orvex::Utils::urlSafeBase64Decode(
            QByteArray::fromRawData(static_cast<const char *>(pages), size));
    ::munmap(pages, size_t(size));
    QCOMPARE(decoded, QByteArray());
}

QTEST_GUILESS_MAIN(tst_Utils)
#include "tst_utils.moc"
