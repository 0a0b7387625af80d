#include "bigint/BigUnsignedInABase.h"

#include "bigint/FastPaths_p.h"

#include <cassert>

namespace {

constexpr const char *digitTooLargeText =
        "BigUnsignedInABase::BigUnsignedInABase(const Digit *, "
        "Index, Base): A digit is too large for the specified base";
constexpr unsigned maximumTextBase = 36;

// The symbol's value, or -1 for a byte that is no symbol.
int symbolValue(char symbol)
{
    if (symbol >= '0' && symbol <= '9')
        return symbol - '0';
    if (symbol >= 'A' && symbol <= 'Z')
        return symbol - 'A' + 10;
    if (symbol >= 'a' && symbol <= 'z')
        return symbol - 'a' + 10;
    return -1;
}

using Blk = BigUnsigned::Blk;

// The largest power of the base that fits a block, and its exponent: the digits a block holds.
struct Chunk
{
    unsigned long power = 1;
    unsigned digits = 0;

    // Bases 0 and 1 (left by the string constructor) give a chunk of no digits.
    explicit Chunk(unsigned base)
    {
        while (base > 1 && power * base <= 0xFFFFFFFFul) {
            power *= base;
            digits++;
        }
    }
};

} // namespace

BigUnsignedInABase::BigUnsignedInABase(const Digit *digits, Index count, Base base)
    : BlockArray<Digit>(digits, count), base(base)
{
    if (base < 2)
        throw "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, Base): The base must "
              "be "
              "at least 2";
    for (Index i = 0; i < length; i++) {
        if (blocks[i] >= base)
            throw digitTooLargeText;
    }
}

BigUnsignedInABase::BigUnsignedInABase(const BigUnsigned &x, Base base) : base(base)
{
    if (base < 2)
        throw "BigUnsignedInABase(BigUnsigned, Base): The base must be at least 2";
    // Every digit carries at least `bitsPerDigit` bits, the largest m with 2^m <= base.
    unsigned bitsPerDigit = 0;
    for (Base b = base; b > 1; b >>= 1)
        bitsPerDigit++;
    const unsigned long bitCount = 32ul * x.getLength();
    reserve(Index((bitCount + bitsPerDigit - 1) / bitsPerDigit));

    Index digitCount = 0;
    if (BigIntFastPaths::takenFor(x)) {
        length = BigIntFastPaths::digitsOf(x, base, blocks);
        assert(length <= capacity);
        return;
    }
    BigUnsigned quotient(x), remainder;
    const BigUnsigned bigBase(base);
    while (!quotient.isZero()) {
        remainder = quotient;
        remainder.divideWithRemainder(bigBase, quotient);
        assert(digitCount < capacity);
        blocks[digitCount++] = remainder.toUnsignedShort();
    }
    length = digitCount;
}

BigUnsignedInABase::BigUnsignedInABase(const std::string &s, Base base) : base(base)
{
    // Deliberate: no lower bound here; base 0 rejects every symbol as too large, base 1 accepts
    // only zeros.
    if (base > maximumTextBase)
        throw "BigUnsignedInABase(std::string, Base): The default string conversion routines use "
              "the symbol set 0-9, A-Z and therefore support only up to base 36.  You tried a "
              "conversion with a base over 36; write your own string conversion routine.";
    if (s.length() > Index(-1))
        throw "BigUnsignedInABase(std::string, Base): Text too long for its length to fit an Index";
    const Index symbolCount = Index(s.length());
    reserve(symbolCount);
    length = symbolCount;
    for (Index i = 0; i < symbolCount; i++) {
        const int value = symbolValue(s[symbolCount - 1 - i]);
        if (value < 0)
            throw "BigUnsignedInABase(std::string, Base): Bad symbol in input.  Only 0-9, A-Z, a-z "
                  "are accepted.";
        // Deliberate: a symbol too large for the base throws the digit-array constructor's text.
        if (unsigned(value) >= base)
            throw digitTooLargeText;
        blocks[i] = Digit(value);
    }
    trimLeadingZeros();
}

BigUnsignedInABase::operator BigUnsigned() const
{
    // Horner's rule from the most significant digit.
    BigUnsigned result, shifted, digit;
    const BigUnsigned bigBase(base);
    Index i = length;
    const Chunk chunk(base);
    if (BigIntFastPaths::enabled && chunk.digits > 0 && length > chunk.digits + 1) {
        // All but the last chunk.digits + 1 digits at once; those go one at a time as below, so
        // that the result's capacity is the one digit-by-digit steps leave: they grow it at
        // least as far as any earlier step could. The assignment sizes it exactly.
        i = chunk.digits + 1;
        result = BigIntFastPaths::valueOf(blocks + i, length - i, base);
        // The scratch values get their room once; only the result's capacity is seen outside.
        shifted.setBlock(result.getLength() + 1, 1);
        shifted.setBlock(result.getLength() + 1, 0);
        digit.setBlock(0, 1);
    }
    for (; i > 0; i--) {
        shifted.multiply(result, bigBase);
        digit.setBlock(0, blocks[i - 1]);
        result.add(shifted, digit);
    }
    return result;
}

BigUnsignedInABase::operator std::string() const
{
    if (base > maximumTextBase)
        throw "BigUnsignedInABase ==> std::string: The default string conversion routines use the "
              "symbol set 0-9, A-Z and therefore support only up to base 36.  You tried a "
              "conversion with a base over 36; write your own string conversion routine.";
    if (length == 0)
        return "0";
    std::string text(length, '0');
    for (Index i = 0; i < length; i++) {
        const Digit digit = blocks[length - 1 - i];
        text[i] = char(digit < 10 ? '0' + digit : 'A' + digit - 10);
    }
    return text;
}
