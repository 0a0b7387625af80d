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

// The document element a has three children: b, e and f.
const QString tree = QStringLiteral(
        "<a>text<!--note--><b><c/><d>x</d></b><?pi data?><e><h/></e><f><g/></f></a>");
const QString treeTrace = QStringLiteral("<a <b <c >c <d >d >b <e <h >h >e <f <g >g >f >a");

QString nested(int depth)
{
    return QStringLiteral("<e>").repeated(depth) + QStringLiteral("</e>").repeated(depth);
}

} // namespace

class tst_DomVisitor : public QObject
{
    Q_OBJECT

private slots:
    void walk_data();
    void walk();
    void stopAtEveryCallback();
    void parseError_data();
    void parseError();
    void deepDocument();
};

void tst_DomVisitor::walk_data()
{
    // start: "" walks the text, "null" a null element, otherwise the first element of that tag.
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("steer");
    QTest::addColumn<QString>("expected");
    const QString full = "{a " + treeTrace + " }0";
    QTest::newRow("plain tree, only elements") << ""
                                               << "" << full;
    QTest::newRow("skip at the root") << ""
                                      << "<a=2"
                                      << "{a <a }0";
    QTest::newRow("skip deeper") << ""
                                 << "<b=2"
                                 << "{a <a <b <e <h >h >e <f <g >g >f >a }0";
    QTest::newRow("stop in onElement") << ""
                                       << "<c=1"
                                       << "{a <a <b <c }1";
    QTest::newRow("stop in a deep onEndElement") << ""
                                                 << ">c=1"
                                                 << "{a <a <b <c >c }1";
    QTest::newRow("skip from onEndElement goes on") << ""
                                                    << ">b=2" << full;
    QTest::newRow("3 from onElement goes on") << ""
                                              << "<b=3" << full;
    QTest::newRow("3 from onEndElement goes on") << ""
                                                 << ">c=3" << full;
    QTest::newRow("second of three siblings") << "e"
                                              << ""
                                              << "{e <e <h >h >e <f <g >g >f }0";
    QTest::newRow("stop in a later sibling") << "e"
                                             << "<g=1"
                                             << "{e <e <h >h >e <f <g }1";
    QTest::newRow("null element") << "null"
                                  << ""
                                  << "{ }0";
}

void tst_DomVisitor::walk()
{
    QFETCH(QString, start);
    QFETCH(QString, steer);
    QFETCH(QString, expected);
    Recorder recorder;
    recorder.setSteer(steer);
    if (start.isEmpty()) {
        const QString result = recorder.visit(tree);
        QVERIFY(result.isEmpty() && !result.isNull());
    } else {
        QDomDocument document;
        QVERIFY(document.setContent(tree));
        const QDomElement element = document.elementsByTagName(start).item(0).toElement();
        QCOMPARE(int(recorder.visit(element)), expected.right(1).toInt());
    }
    QCOMPARE(recorder.trace.join(' '), expected);
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
