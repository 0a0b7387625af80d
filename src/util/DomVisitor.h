#ifndef ORVEX_UTIL_DOMVISITOR_H
#define ORVEX_UTIL_DOMVISITOR_H

#include "orvexsupport_export.h"

#include <QDomElement>
#include <QString>

namespace Orvex {

/// \addtogroup xml
/// @{

/// Walks an XML document element by element. A subclass overrides the callbacks it needs; the
/// value that onElement and onEndElement return steers the walk. Only elements are visited: text,
/// comments and other nodes are left to the callbacks, which may read them from the element.
///
/// The visitor keeps no state of its own, so one object may run any number of walks one after the
/// other, from one thread at a time. The walk keeps its own position on the heap, so deep nesting
/// costs it no stack.
///
/// Deliberate: no virtual destructor; a visitor is never deleted through a pointer to this base.
class ORVEXSUPPORT_EXPORT DomVisitor
{
public:
    /// What a callback tells the walk. Any other value a callback returns counts as Continue.
    /// Fixed at int so that such values are well defined.
    enum VisitCmd : int {
        Continue = 0, ///< into the children, then onEndElement, then the next sibling
        Stop = 1, ///< ends the whole walk at once
        SkipChildren = 2 ///< from onElement: no children and no onEndElement; the next sibling
    };

    /// Called once before a walk, with the element it starts at (the document element for a text).
    virtual void onVisitStarted(const QDomElement &root);
    /// Called once after a walk: Stop when a callback stopped it, otherwise Continue.
    virtual void onVisitEnded(DomVisitor::VisitCmd result);
    /// Called for each element on the way down. Continue by default.
    virtual DomVisitor::VisitCmd onElement(const QDomElement &element);
    /// Called for each element on the way up, after all its children's callbacks; SkipChildren
    /// here counts as Continue. Continue by default.
    virtual DomVisitor::VisitCmd onEndElement(const QDomElement &element);
    /// Called with the parser's message when a text is not well-formed, or with the reason it is
    /// refused; nothing else is called.
    virtual void onError(const QString &message);

    /// Parses xml and walks its document element. Returns an empty (not null) string when the
    /// text parsed, whatever the walk did, or else the message onError got. Hostile texts are
    /// refused before parsing, with a message of this class and no other callback:
    /// - an internal subset holding more than comments, processing instructions, plain-text
    ///   entities (a quoted value without '<', '&' or '%') and declarations without references;
    ///   so parameter and external entities are refused;
    /// - entity references expanding the text past 4 times its length plus 65,536 characters;
    /// - tags nested deeper than Qt's parser can recurse on this thread's stack: "document nested
    ///   deeper than N levels", N about 16,000 on an 8 MiB stack, fewer on a smaller one.
    QString visit(const QString &xml);
    /// Walks from element and returns Continue or Stop.
    /// Deliberate: the walk goes on through the siblings that follow element.
    VisitCmd visit(const QDomElement &element);

protected:
    /// The walk itself: start and each following sibling element, each depth-first.
    VisitCmd doVisit(const QDomElement &start);
};

/// @}

} // namespace Orvex

#endif // ORVEX_UTIL_DOMVISITOR_H
