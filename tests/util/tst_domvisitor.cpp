#include "util/DomVisitor.h"

#include <QDomDocument>
#include <QRegularExpression>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <functional>
#include <memory>

namespace {

// Records every callback as one token: "{root" started, "<tag" element, ">tag" end element,
// "}N" ended with result N, "!message" error. Returns Stop at the N-th element callback
// (stopAt, counted from 1), steerValue for the token steerToken and otherwise Continue.
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

    QStringList trace;
    int stopAt = 0;
    QString steerToken;
    int steerValue = Continue;

private:
    VisitCmd record(const QString &token)
    {
        trace << token;
        if (++calls == stopAt)
            return Stop;
        return token == steerToken ? VisitCmd(steerValue) : Continue;
    }

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

// A document nested `depth` levels deep, the document element included, built with `kind`.
QString nestedBy(const QString &kind, int depth)
{
    const int inner = depth - 1;
    if (kind == QLatin1String("elements"))
        return nested(depth);
    if (kind == QLatin1String("attributes holding > and />"))
        return QStringLiteral("<e a='>' b=\"/>\">") + nested(inner) + QStringLiteral("</e>");
    if (kind == QLatin1String("self-closing innermost"))
        return nested(inner).insert(inner * 3, QStringLiteral("<e/>"));
    // Markup the parser does not nest: comments, sections, instructions, the internal subset.
    return QStringLiteral("<!DOCTYPE r [<!-- <e> --><!ENTITY x 'e/>'><?p <e>?>]><r>")
            + QStringLiteral("<!-- <e> --><![CDATA[<e>]]><?p <e>?><e a='&lt;e>'/>&x;&lt;e>")
                      .repeated(depth)
            + QStringLiteral("</r>");
}

// The bound in a refusal's message, or -1.
int boundIn(const QString &message)
{
    const QRegularExpressionMatch match =
            QRegularExpression(QStringLiteral("^document nested deeper than (\\d+) levels$"))
                    .match(message);
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

// Runs job on a thread with a 512 KiB stack and waits for it.
void onSmallStack(const std::function<void()> &job)
{
    // Released by the thread and acquired after the wait, so that a race checker that cannot see
    // inside QThread::wait still orders the results.
    std::atomic<bool> done{false};
    std::unique_ptr<QThread> thread(QThread::create([&] {
        job();
        done.store(true, std::memory_order_release);
    }));
    thread->setStackSize(512 * 1024);
    thread->start();
    QVERIFY(thread->wait(60000));
    QVERIFY(done.load(std::memory_order_acquire));
}

} // namespace

class tst_DomVisitor : public QObject
{
    Q_OBJECT

private slots:
    void walk_data();
    void walk();
    void stopAtEveryCallback();
    void nestingBound_data();
    void nestingBound();
    void smallStackLowersTheBound();
    void hostileDocument_data();
    void hostileDocument();
};

void tst_DomVisitor::walk_data()
{
    // start: "" walks the text, "null" a null element, otherwise the first element of that tag.
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("steer");
    QTest::addColumn<QString>("expected");
    const QString full = "{a " + treeTrace + " }0";
    const auto row = [](const char *what, const char *start, const char *steer,
                        const QString &expected) {
        QTest::newRow(what) << QString(start) << QString(steer) << expected;
    };
    row("plain tree, only elements", "", "", full);
    row("skip at the root", "", "<a=2", "{a <a }0");
    row("skip deeper", "", "<b=2", "{a <a <b <e <h >h >e <f <g >g >f >a }0");
    row("skip from onEndElement goes on", "", ">b=2", full);
    row("3 from onElement goes on", "", "<b=3", full);
    row("3 from onEndElement goes on", "", ">c=3", full);
    row("second of three siblings", "e", "", "{e <e <h >h >e <f <g >g >f }0");
    row("stop in a later sibling", "e", "<g=1", "{e <e <h >h >e <f <g }1");
    row("null element", "null", "", "{ }0");
}

void tst_DomVisitor::walk()
{
    QFETCH(QString, start);
    QFETCH(QString, steer);
    QFETCH(QString, expected);
    Recorder recorder;
    // "<b=2": onElement of b returns 2.
    recorder.steerToken = steer.section('=', 0, 0);
    recorder.steerValue = steer.section('=', 1).toInt();
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

void tst_DomVisitor::nestingBound_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"elements", "attributes holding > and />", "self-closing innermost",
                             "markup that does not nest"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void tst_DomVisitor::nestingBound()
{
    QFETCH(QString, kind);
    Recorder probe;
    const int bound = boundIn(probe.visit(nested(100000)));
    QVERIFY2(bound >= 10000, qPrintable(probe.trace.join(' ')));
    QCOMPARE(probe.trace.size(), 1);

    // At the bound the document parses and is walked as ever: every element, the root of the
    // markup that does not nest included, gets both callbacks.
    Recorder within;
    QCOMPARE(within.visit(nestedBy(kind, bound)), QString(""));
    QCOMPARE(within.trace.value(0).left(1), QString("{"));
    QCOMPARE(within.trace.last(), QString("}0"));
    QCOMPARE(within.trace.size(), 2 * bound + (kind.startsWith("markup") ? 4 : 2));

    // One level more is refused before parsing, with no element callback.
    Recorder beyond;
    const QString message = beyond.visit(nestedBy(kind, bound + 1));
    if (kind == QLatin1String("markup that does not nest")) {
        QCOMPARE(message, QString(""));
        QCOMPARE(beyond.trace.last(), QString("}0"));
    } else {
        QCOMPARE(boundIn(message), bound);
        QCOMPARE(beyond.trace, QStringList{'!' + message});
    }
}

void tst_DomVisitor::smallStackLowersTheBound()
{
    Recorder probe;
    const int mainBound = boundIn(probe.visit(nested(100000)));
    int bound = -1;
    QString result = QStringLiteral("not run");
    int elements = 0;
    onSmallStack([&] {
        Recorder refused;
        bound = boundIn(refused.visit(nested(mainBound)));
        Recorder under;
        result = under.visit(nested(bound));
        elements = under.trace.filter(QRegularExpression(QStringLiteral("^<"))).size();
    });
    QVERIFY2(bound > 100 && bound < mainBound / 8, qPrintable(QString::number(bound)));
    QCOMPARE(result, QString(""));
    QCOMPARE(elements, bound);
}

void tst_DomVisitor::hostileDocument_data()
{
    // result: the refusal, or "" when the text is walked, elements then telling the walk.
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("elements");
    const QString markup = "DomVisitor: declarations carrying markup or references are refused";
    const QString entity = "DomVisitor: parameter and external entities are refused";
    const QString unreadable = "DomVisitor: unreadable document type declaration refused";
    const QString opens = QStringLiteral("<e>").repeated(300);
    const auto row = [](const char *what, const QString &xml, const QString &result,
                        const QString &elements = QString()) {
        QTest::newRow(what) << xml << result << elements;
    };
    row("markup entity used within itself",
        "<!DOCTYPE r [<!ENTITY b '" + opens + "&b;'>]><r>&b;</r>", markup);
    row("markup spelt through a parameter entity",
        "<!DOCTYPE r [<!ENTITY % p '&#38;#60;e>'><!ENTITY g '" + QStringLiteral("%p;").repeated(300)
                + "'>]><r>&g;" + QStringLiteral("</e>").repeated(300) + "</r>",
        entity);
    const QString repeated = "<!DOCTYPE r [<!ENTITY b '" + QString(4000, 'x') + "'>]><r>"
            + QStringLiteral("&b;").repeated(100) + "</r>";
    row("text entity used past the size bound", repeated,
        QString("DomVisitor: entity references expand past %1 characters")
                .arg(4 * repeated.size() + 65536));
    row("character reference in an entity", "<!DOCTYPE r [<!ENTITY b '&#60;e/>'>]><r>&b;</r>",
        markup);
    row("entities within entities", "<!DOCTYPE r [<!ENTITY a 'ha'><!ENTITY b '&a;&a;'>]><r>&b;</r>",
        markup);
    row("reference in an attribute default",
        "<!DOCTYPE r [<!ENTITY a 'ha'><!ATTLIST r x CDATA '&a;'>]><r/>", markup);
    row("external entity", "<!DOCTYPE r [<!ENTITY b SYSTEM 'file:///etc/hostname'>]><r>&b;</r>",
        entity);
    row("parameter entity reference", "<!DOCTYPE r [%p;]><r/>", entity);
    row("declaration in other words", "<!DOCTYPE r [<!entity b '<e>'>]><r>&b;</r>", unreadable);
    row("document type after the root", "<r/><!DOCTYPE r [<!ENTITY b '<e>'>]>", markup);
    row("plain-text entities",
        "<!DOCTYPE r [<!ENTITY b \"it's\"><!ENTITY c 'a \"b\" > c'>]><r a='&b;'>&c;<e/>&b;</r>", "",
        "<r <e >e >r");
    row("text entity used often within the size bound",
        "<!DOCTYPE r [<!ENTITY b '" + QString(50, 'x') + "'>]><r>"
                + QStringLiteral("&b;<e/>").repeated(1000) + "</r>",
        "", "<r" + QStringLiteral(" <e >e").repeated(1000) + " >r");
    row("declarations hidden in comments, instructions and sections",
        "<!DOCTYPE r SYSTEM 'r.dtd' [<!-- <!ENTITY b '<e>'> --><?p <!ENTITY % c 'x'>?>]><r>"
        "<![CDATA[<!DOCTYPE r [<!ENTITY b '<e>'>]>]]><!--<!ENTITY b '<e>'>-->&b;</r>",
        "", "<r >r");
    row("element, attribute and notation declarations",
        "<!DOCTYPE r [<!ELEMENT r ANY><!ATTLIST r a CDATA 'x>]y'><!NOTATION n SYSTEM 'n'>]><r/>",
        "", "<r >r");
}

void tst_DomVisitor::hostileDocument()
{
    QFETCH(QString, xml);
    QFETCH(QString, result);
    QFETCH(QString, elements);
    const QString expected = result.isEmpty() ? "{r " + elements + " }0" : '!' + result;
    // The same on this thread and on one with a small stack.
    Recorder here;
    Recorder there;
    QString onSmall;
    onSmallStack([&] {
        onSmall = there.visit(xml);
    });
    QCOMPARE(here.visit(xml), result);
    QCOMPARE(onSmall, result);
    QCOMPARE(here.trace.join(' '), expected);
    QCOMPARE(there.trace, here.trace);
}

QTEST_GUILESS_MAIN(tst_DomVisitor)
#include "tst_domvisitor.moc"
