#include "util/Utils.h"

#include <QDomDocument>
#include <QtTest>

#include <limits>

#include <sys/mman.h>

class tst_Utils : public QObject
{
    Q_OBJECT

private slots:
    void md5OfLatin1Bytes();
    void readChildEleText_data();
    void readChildEleText();
    void hostileInput_data();
    void hostileInput();
};

void tst_Utils::md5OfLatin1Bytes()
{
    QCOMPARE(Orvex::Utils::toMD5String(QString(QChar(0xE9))),
             QStringLiteral("3406877694691ddd1dfb0aca54681407"));
}

void tst_Utils::readChildEleText_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("found");
    QTest::newRow("absent") << "none" << QString() << false;
    QTest::newRow("grandchild not searched") << "deep" << QString() << false;
    QTest::newRow("empty child") << "empty" << QString() << true;
    QTest::newRow("first of two, descendants' text") << "name" << QString("Orvex suite") << true;
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
