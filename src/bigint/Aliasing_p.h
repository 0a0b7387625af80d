// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_ALIASING_P_H
#define ORVEX_BIGINT_ALIASING_P_H

// When `receiver` is one of `operands`, runs the put-result-here `routine` into a temporary and
// assigns that to the receiver, so no operand is overwritten while it is still read and a throwing
// routine leaves the receiver as it was. Returns false, doing nothing, when nothing is aliased.
template <class Value, class Routine, class... Operands>
bool computedThroughTemporary(Value &receiver, Routine routine, const Operands &...operands)
{
    const void *self = &receiver;
    if (!((self == static_cast<const void *>(&operands)) || ...))
        return false;
    Value temporary;
    (temporary.*routine)(operands...);
    receiver = temporary;
    return true;
}

#endif // ORVEX_BIGINT_ALIASING_P_H
