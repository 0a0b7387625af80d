// Elements per second over a generated 200,000-element document: DomVisitor's parse and walk,
// against a bare QDomDocument parse with the same element walk, and a QXmlStreamReader pass.
#include "RatioReporter.h"

#include <util/DomVisitor.h>

#include <QDomDocument>
#include <QXmlStreamReader>

namespace {

constexpr int elementCount = 200000;

// Sections of 99 items each (attributes and text included), so that the tree is wide and a few
// levels deep, as configuration and message documents are.
const QString &documentText()
{
    static const QString text = [] {
        QString xml = "<root>";
        int made = 1;
        for (int section = 0; made < elementCount; section++) {
            xml += QString("<section id=\"%1\">").arg(section);
            made++;
            for (int item = 0; item < 99 && made < elementCount; item++, made++)
                xml += QString("<item key=\"k%1\" value=\"%2\">text %1</item>").arg(item).arg(made);
            xml += "</section>";
        }
        return xml + "</root>";
    }();
    return text;
}

class CountingVisitor : public Orvex::DomVisitor
{
public:
    VisitCmd onElement(const QDomElement &) override
    {
        count++;
        return Continue;
    }
    long count = 0;
};

void finish(benchmark::State &state, long counted)
{
    if (counted != elementCount)
        state.SkipWithError("wrong element count");
    state.counters["elements/s"] = benchmark::Counter(double(counted) * double(state.iterations()),
                                                      benchmark::Counter::kIsRate);
}

void walkOrvex(benchmark::State &state)
{
    long counted = 0;
    for (auto _ : state) {
        CountingVisitor visitor;
        visitor.visit(documentText());
        counted = visitor.count;
    }
    finish(state, counted);
}

// The same depth-first element walk, written directly over a parsed QDomDocument.
long countElements(const QDomElement &first)
{
    long count = 0;
    for (QDomElement e = first; !e.isNull(); e = e.nextSiblingElement()) {
        count++;
        count += countElements(e.firstChildElement());
    }
    return count;
}

void walkQDomDocument(benchmark::State &state)
{
    long counted = 0;
    for (auto _ : state) {
        QDomDocument document;
        document.setContent(documentText(), nullptr, nullptr, nullptr);
        counted = countElements(document.documentElement());
    }
    finish(state, counted);
}

void walkQXmlStreamReader(benchmark::State &state)
{
    long counted = 0;
    for (auto _ : state) {
        QXmlStreamReader reader(documentText());
        counted = 0;
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement)
                counted++;
        }
    }
    finish(state, counted);
}

} // namespace

BENCHMARK(walkOrvex)->Name("domwalk/orvex/200000")->Unit(benchmark::kMillisecond);
BENCHMARK(walkQDomDocument)->Name("domwalk/qdomdocument/200000")->Unit(benchmark::kMillisecond);
BENCHMARK(walkQXmlStreamReader)
        ->Name("domwalk/qxmlstreamreader/200000")
        ->Unit(benchmark::kMillisecond);

ORVEX_BENCHMARK_MAIN();
