// The DOM visitor on arbitrary text, read as UTF-8, and its guard against what Qt's parser really
// does. Nothing may crash, however deep or odd the text. A walk gives one start and one end; else
// one error comes, with the message visit returns, which is the parser's own unless the guard
// refused the text (the order of the callbacks and their answers are the unit tables' business).
// For every text whose declarations the guard accepts, a SAX pass of Qt's parser, set up as the DOM
// sets it up, may nest no deeper and deliver no more characters than the guard counted.
#include <util/DomVisitor.h>
#include <util/DomVisitor_p.h>

#include "common/Check.h"

#include <QDomDocument>
#include <QXmlDefaultHandler>
#include <QXmlSimpleReader>

#include <algorithm>
#include <cstdint>

// Deliberate: the DOM parses with Qt's deprecated SAX reader, so only that reader shows what the
// DOM reaches.
QT_WARNING_DISABLE_DEPRECATED

namespace {

// What the parser reaches: the deepest element nesting and the text it hands over, entities
// expanded.
class Reached : public QXmlDefaultHandler
{
public:
    bool startElement(const QString &, const QString &, const QString &,
                      const QXmlAttributes &attributes) override
    {
        deepest = std::max(deepest, ++depth);
        for (int i = 0; i < attributes.count(); ++i)
            delivered += attributes.value(i).size();
        return true;
    }
    bool endElement(const QString &, const QString &, const QString &) override
    {
        --depth;
        return true;
    }
    bool characters(const QString &text) override
    {
        delivered += text.size();
        return true;
    }

    qint64 depth = 0;
    qint64 deepest = 0;
    qint64 delivered = 0;
};

class Checker : public Orvex::DomVisitor
{
public:
    void onVisitStarted(const QDomElement &) override
    {
        CHECK(!started && errors == 0);
        started = true;
    }
    void onVisitEnded(VisitCmd result) override
    {
        CHECK(started && !ended && result == Continue);
        ended = true;
    }
    void onError(const QString &message) override
    {
        CHECK(!started && errors++ == 0);
        error = message;
    }

    bool started = false;
    bool ended = false;
    int errors = 0;
    QString error;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), int(size));
    Checker checker;
    const QString result = checker.visit(text);
    const QString refused = Orvex::DomGuard::refusal(text);
    CHECK(!result.isNull());
    if (result.isEmpty()) {
        CHECK(checker.started && checker.ended && checker.errors == 0);
    } else {
        CHECK(checker.errors == 1 && checker.error == result);
        if (result != refused) {
            QString message;
            CHECK(!QDomDocument().setContent(text, &message, nullptr, nullptr));
            CHECK(message == result);
        }
    }

    if (!refused.isNull())
        return 0;
    const Orvex::DomGuard::Reach guard = Orvex::DomGuard::reach(text);
    // Set up as the DOM sets it up.
    QXmlSimpleReader reader;
    reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), false);
    reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), true);
    reader.setFeature(
            QStringLiteral("http://trolltech.com/xml/features/report-whitespace-only-CharData"),
            false);
    Reached reached;
    reader.setContentHandler(&reached);
    reader.setLexicalHandler(&reached);
    reader.setDeclHandler(&reached);
    reader.setDTDHandler(&reached);
    QXmlInputSource source;
    source.setData(text);
    reader.parse(&source, false);
    CHECK(reached.deepest <= guard.depth);
    CHECK(reached.delivered <= guard.expandedSize);
    return 0;
}
