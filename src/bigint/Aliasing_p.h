// Internal to the library; not installed.
#ifndef ORVEX_BIGINT_ALIASING_P_H
#define ORVEX_BIGINT_ALIASING_P_H

#include <type_traits>

// When `receiver` is one of `operands`, runs the put-result-here `routine` (a member of the
// receiver's type, or a function taking the receiver first) into a temporary and assigns that to
// the receiver, so no operand is overwritten while it is still read and a throwing routine leaves
// the receiver as it was. Returns false, doing nothing, when nothing is aliased.
template <class Value, class Routine, class... Operands>
bool computedThroughTemporary(Value &receiver, Routine routine, const Operands &...operands)
{
    const void *self = &receiver;
    if (!((self == static_cast<const void *>(&operands)) || ...))
        return false;
    Value temporary;
    if constexpr (std::is_member_function_pointer_v<Routine>)
        (temporary.*routine)(operands...);
    else
        routine(temporary, operands...);
    receiver = temporary;
    return true;
}

#endif // ORVEX_BIGINT_ALIASING_P_H
