#include "util/DomVisitor.h"

#include "util/DomVisitor_p.h"

#include <QDomDocument>

#include <vector>

namespace Orvex {

void DomVisitor::onVisitStarted(const QDomElement &) {}

void DomVisitor::onVisitEnded(DomVisitor::VisitCmd) {}

DomVisitor::VisitCmd DomVisitor::onElement(const QDomElement &)
{
    return Continue;
}

DomVisitor::VisitCmd DomVisitor::onEndElement(const QDomElement &)
{
    return Continue;
}

void DomVisitor::onError(const QString &) {}

QString DomVisitor::visit(const QString &xml)
{
    // Refused before parsing: what Qt's parser would overflow the stack or the memory with.
    const QString refusal = DomGuard::refusal(xml);
    if (!refusal.isNull()) {
        onError(refusal);
        return refusal;
    }
    QDomDocument document;
    QString message;
    if (!document.setContent(xml, &message, nullptr, nullptr)) {
        onError(message);
        return message;
    }
    const QDomElement root = document.documentElement();
    onVisitStarted(root);
    onVisitEnded(doVisit(root));
    return QString(QLatin1String(""));
}

DomVisitor::VisitCmd DomVisitor::visit(const QDomElement &element)
{
    onVisitStarted(element);
    const VisitCmd result = doVisit(element);
    onVisitEnded(result);
    return result;
}

DomVisitor::VisitCmd DomVisitor::doVisit(const QDomElement &start)
{
    // The elements whose children are being walked, outermost first; each still owes its
    // onEndElement. Kept here rather than in nested calls so that nesting depth costs no stack.
    std::vector<QDomElement> open;
    // Deliberate: the walk goes on through the siblings after the start element; for the
    // document element there are none.
    QDomElement element = start;
    for (;;) {
        if (element.isNull()) {
            if (open.empty())
                return Continue;
            const QDomElement parent = open.back();
            open.pop_back();
            if (onEndElement(parent) == Stop)
                return Stop;
            element = parent.nextSiblingElement();
            continue;
        }
        const VisitCmd command = onElement(element);
        if (command == SkipChildren) {
            element = element.nextSiblingElement();
        } else if (command == Stop) {
            return Stop;
        } else {
            // Deliberate: any other value, 3 included, counts as Continue.
            open.push_back(element);
            element = element.firstChildElement();
        }
    }
}

} // namespace Orvex
