// The DOM visitor on arbitrary text, and its guard against what Qt's parser really does.
//
// The first byte steers the callbacks' answers, the rest is the text, read as UTF-8. Nothing may
// crash, however deep or odd the text. The callbacks must come in a well-formed order: one start,
// then element callbacks in which every end matches the innermost open element, then one end
// with Stop exactly when a callback stopped; or else one error with the message visit returns,
// which is the parser's own unless the guard refused the text. For every text whose declarations
// the guard accepts, a SAX pass of Qt's parser, set up as the DOM sets it up, may nest no deeper
// and deliver no more characters than the guard counted.
#include <util/DomVisitor.h>
#include <util/DomVisitor_p.h>

#include "common/Check.h"

#include <QDomDocument>
#include <QXmlDefaultHandler>
#include <QXmlSimpleReader>

#include <algorithm>
#include <cstdint>
#include <vector>

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
    explicit Checker(std::uint8_t steer) : state(steer | 0x100u) {}

    void onVisitStarted(const QDomElement &) override
    {
        CHECK(!started && !ended && errors == 0);
        started = true;
    }
    void onVisitEnded(VisitCmd result) override
    {
        CHECK(started && !ended);
        CHECK(result == (stopped ? Stop : Continue));
        if (!stopped)
            CHECK(open.empty());
        ended = true;
    }
    VisitCmd onElement(const QDomElement &element) override
    {
        CHECK(started && !ended && !stopped && !element.isNull());
        const VisitCmd command = next();
        if (command == Stop)
            stopped = true;
        else if (command != SkipChildren)
            open.push_back(element);
        return command;
    }
    VisitCmd onEndElement(const QDomElement &element) override
    {
        CHECK(started && !ended && !stopped && !open.empty() && open.back() == element);
        open.pop_back();
        const VisitCmd command = next();
        stopped = command == Stop;
        return command;
    }
    void onError(const QString &message) override
    {
        CHECK(!started && errors == 0 && !message.isEmpty());
        ++errors;
        error = message;
    }

    bool started = false;
    bool ended = false;
    bool stopped = false;
    int errors = 0;
    QString error;

private:
    // Mostly Continue, now and then any answer, 3 included.
    VisitCmd next()
    {
        state ^= state << 7;
        state ^= state >> 9;
        return (state & 7u) < 5 ? Continue : VisitCmd(state >> 3 & 3u);
    }

    std::uint32_t state;
    std::vector<QDomElement> open;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data + 1), int(size - 1));
    Checker checker(data[0]);
    const QString result = checker.visit(text);
    const QString refused = Orvex::DomGuard::refusal(text);
    CHECK(!result.isNull());
    if (result.isEmpty()) {
        CHECK(checker.started && checker.ended && checker.errors == 0);
    } else {
        CHECK(!checker.started && checker.errors == 1 && checker.error == result);
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
