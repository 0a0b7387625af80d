// Prints the element outline of an XML file through Orvex::DomVisitor: one indented tag name per
// element. Children of the elements named with --skip are left out; the walk ends at the first
// element named with --stop.
//
//   orvex-xml-outline [--skip TAG]... [--stop TAG] FILE
#include <util/DomVisitor.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>

namespace {

class Outline : public Orvex::DomVisitor
{
public:
    VisitCmd onElement(const QDomElement &element) override
    {
        const QString name = element.tagName();
        if (name == stopTag) {
            print(describe(element) + QStringLiteral("  (stop)"));
            return Stop;
        }
        if (skipTags.contains(name)) {
            int children = 0;
            for (QDomElement child = element.firstChildElement(); !child.isNull();
                 child = child.nextSiblingElement())
                ++children;
            print(describe(element)
                  + QStringLiteral("  (%1 child element%2 skipped)")
                            .arg(children)
                            .arg(children == 1 ? "" : "s"));
            return SkipChildren; // no onEndElement follows, so depth stays
        }
        print(describe(element));
        ++depth;
        return Continue;
    }

    VisitCmd onEndElement(const QDomElement &) override
    {
        --depth;
        return Continue;
    }

    void onVisitEnded(VisitCmd result) override
    {
        if (result == Stop)
            std::printf("(walk stopped)\n");
    }

    void onError(const QString &message) override
    {
        std::fprintf(stderr, "orvex-xml-outline: not well-formed XML: %s\n", qPrintable(message));
    }

    QStringList skipTags;
    QString stopTag;

private:
    // The tag name followed by the attributes as name="value".
    static QString describe(const QDomElement &element)
    {
        QString text = element.tagName();
        const QDomNamedNodeMap attributes = element.attributes();
        for (int i = 0; i < attributes.count(); ++i) {
            const QDomAttr attribute = attributes.item(i).toAttr();
            text += QStringLiteral(" %1=\"%2\"").arg(attribute.name(), attribute.value());
        }
        return text;
    }

    void print(const QString &line) const
    {
        std::printf("%s%s\n", qPrintable(QString(2 * depth, QLatin1Char(' '))), qPrintable(line));
    }

    int depth = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Prints the element outline of an XML file."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("skip"), QStringLiteral("Leave out the children of <tag>."),
                      QStringLiteral("tag")});
    parser.addOption({QStringLiteral("stop"), QStringLiteral("End the walk at the first <tag>."),
                      QStringLiteral("tag")});
    parser.addPositionalArgument(QStringLiteral("file"),
                                 QStringLiteral("The XML file to outline."));
    parser.process(app);
    if (parser.positionalArguments().size() != 1) {
        std::fprintf(stderr, "%s", qPrintable(parser.helpText()));
        return 2;
    }

    const QString path = parser.positionalArguments().constFirst();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "orvex-xml-outline: cannot read %s: %s\n", qPrintable(path),
                     qPrintable(file.errorString()));
        return 1;
    }

    Outline outline;
    outline.skipTags = parser.values(QStringLiteral("skip"));
    outline.stopTag = parser.value(QStringLiteral("stop"));
    // The visitor takes text; the file is read as UTF-8.
    const QString error = outline.visit(QString::fromUtf8(file.readAll()));
    return error.isEmpty() ? 0 : 1;
}
