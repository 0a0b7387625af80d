#include "util/DomVisitor.h"

#include <QDomDocument>
#include <QHash>
#include <QtTest>

namespace {

// Records every callback as one token: "{root" started, "<tag" element, ">tag" end element,
// "}N" ended with result N, "!message" error. Returns Stop at the N-th element callback
// (stopAt, counted from 1) and otherwise the value steer gives for the token, if any.
class Recorder : public Orvex::DomVisitor
{
public:
    void onVisitStarted(const QDomElement &root) override { trace << '{' + root.tagName(); }
    void onVisitEnded(VisitCmd result) override { trace << '}' + QString::number(result); }
    VisitCmd onElement(const QDomElement &element) override
    {
        return record('<' + element.tagName());
    }
    VisitCmd onEndElement(const QDomElement &element) override
    {
        return record('>' + element.tagName());
    }
    void onError(const QString &message) override { trace << '!' + message; }

    // "<b=2 >c=1": onElement of b returns 2, onEndElement of c returns 1.
    void setSteer(const QString &steer)
    {
        for (const QString &rule : steer.split(' ', Qt::SkipEmptyParts))
            steerByToken.insert(rule.section('=', 0, 0), rule.section('=', 1).toInt());
    }

    QStringList trace;
    int stopAt = 0;

private:
    VisitCmd record(const QString &token)
    {
        trace << token;
        if (++calls == stopAt)
            return Stop;
        return VisitCmd(steerByToken.value(token, Continue));
    }

    QHash<QString, int> steerByToken;
    int calls = 0;
};

const QString tree = QStringLiteral("<a>text<!--note--><b><c/><d>x</d></b><?pi data?><e/></a>");
const QString treeTrace = QStringLiteral("<a <b <c >c <d >d >b <e >e >a");

QString nested(int depth)
{
    return QStringLiteral("<e>").repeated(depth) + QStringLiteral("</e>").repeated(depth);
}

} // namespace

class tst_DomVisitor : public QObject
{
    Q_OBJECT

private slots:
    void walkText_data();
    void walkText();
    void stopAtEveryCallback();
    void walkFromElement_data();
    void walkFromElement();
    void parseError_data();
    void parseError();
    void deepDocument();
};

void tst_DomVisitor::walkText_data()
{
    QTest::addColumn<QString>("steer");
    QTest::addColumn<QString>("expected");
    const QString full = "{a " + treeTrace + " }0";
    QTest::newRow("plain tree, only elements") << "" << full;
    QTest::newRow("skip at the root") << "<a=2"
                                      << "{a <a }0";
    QTest::newRow("skip deeper") << "<b=2"
                                 << "{a <a <b <e >e >a }0";
    QTest::newRow("skip a leaf") << "<c=2"
                                 << "{a <a <b <c <d >d >b <e >e >a }0";
    QTest::newRow("stop in onElement") << "<c=1"
                                       << "{a <a <b <c }1";
    QTest::newRow("stop in a deep onEndElement") << ">c=1"
                                                 << "{a <a <b <c >c }1";
    QTest::newRow("skip from onEndElement goes on") << ">b=2" << full;
    QTest::newRow("3 from onElement goes on") << "<b=3" << full;
    QTest::newRow("3 from onEndElement goes on") << ">c=3" << full;
}

void tst_DomVisitor::walkText()
{
    QFETCH(QString, steer);
    QFETCH(QString, expected);
    Recorder recorder;
    recorder.setSteer(steer);
    const QString result = recorder.visit(tree);
    QCOMPARE(recorder.trace.join(' '), expected);
    QVERIFY(result.isEmpty() && !result.isNull());
}

void tst_DomVisitor::stopAtEveryCallback()
{
    const QStringList tokens = treeTrace.split(' ');
    for (int n = 1; n <= tokens.size(); ++n) {
        Recorder recorder;
        recorder.stopAt = n;
        QCOMPARE(recorder.visit(tree), QString(""));
        QCOMPARE(recorder.trace.join(' '), "{a " + tokens.mid(0, n).join(' ') + " }1");
    }
}

void tst_DomVisitor::walkFromElement_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("steer");
    QTest::addColumn<QString>("expected");
    QTest::newRow("second of three siblings") << "b"
                                              << ""
                                              << "{b <b <y >y >b <c <z >z >c }0";
    QTest::newRow("stop in a later sibling") << "b"
                                             << "<z=1"
                                             << "{b <b <y >y >b <c <z }1";
    QTest::newRow("last leaf") << "z"
                               << ""
                               << "{z <z >z }0";
    QTest::newRow("null element") << ""
                                  << ""
                                  << "{ }0";
}

void tst_DomVisitor::walkFromElement()
{
    QFETCH(QString, start);
    QFETCH(QString, steer);
    QFETCH(QString, expected);
    QDomDocument document;
    QVERIFY(document.setContent(QStringLiteral("<r><a><x/></a><b><y/></b><c><z/></c></r>")));
    Recorder recorder;
    recorder.setSteer(steer);
    const QDomElement element = document.elementsByTagName(start).item(0).toElement();
    const Orvex::DomVisitor::VisitCmd result = recorder.visit(element);
    QCOMPARE(recorder.trace.join(' '), expected);
    QCOMPARE(int(result), expected.right(1).toInt());
}

void tst_DomVisitor::parseError_data()
{
    QTest::addColumn<QString>("xml");
    QTest::newRow("empty string") << "";
    QTest::newRow("unclosed element") << "<a><b/>";
    QTest::newRow("mismatched end tag") << "<a></b>";
    QTest::newRow("two document elements") << "<a/><b/>";
}

void tst_DomVisitor::parseError()
{
    QFETCH(QString, xml);
    QString expected;
    QVERIFY(!QDomDocument().setContent(xml, &expected, nullptr, nullptr));
    QVERIFY(!expected.isEmpty());
    Recorder recorder;
    QCOMPARE(recorder.visit(xml), expected);
    QCOMPARE(recorder.trace, QStringList{'!' + expected});
}

void tst_DomVisitor::deepDocument()
{
    const int depth = 10000;
    Recorder recorder;
    QCOMPARE(recorder.visit(nested(depth)), QString(""));
    const QString down = QStringLiteral(" <e").repeated(depth);
    QCOMPARE(recorder.trace.join(' '), "{e" + down + QStringLiteral(" >e").repeated(depth) + " }0");

    // Stopped by the innermost onEndElement: no ancestor gets one.
    Recorder stopped;
    stopped.stopAt = depth + 1;
    QCOMPARE(stopped.visit(nested(depth)), QString(""));
    QCOMPARE(stopped.trace.join(' '), "{e" + down + " >e }1");
}

QTEST_GUILESS_MAIN(tst_DomVisitor)
#include "tst_domvisitor.moc"
