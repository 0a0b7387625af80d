#include "bigint/BigUnsignedInABase.h"

#include "bigint/BigUnsignedInABase_p.h"
#include "bigint/FastPaths_p.h"
#include "bigint/LimbOps_p.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <utility>
#include <vector>

using namespace LimbOps;
using BaseConversion::Digit;

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

bool isNormal(const BigUnsigned &x)
{
    return x.getLength() == 0 || x.blockAt(x.getLength() - 1) != 0;
}

// words[0..limbsFor(x's length)) = x.
void wordsOf(const BigUnsigned &x, Limb *words)
{
    const Index n = x.getLength();
    for (Index i = 0; i < limbsFor(n); i++) {
        Limb w = 0;
        for (Index j = blocksPerLimb; j > 0; j--)
            w = (blocksPerLimb > 1 ? w << (bitsPerLimb / blocksPerLimb) : 0)
                    | x.blockAt(i * blocksPerLimb + j - 1);
        words[i] = w;
    }
}

// The number of the words, with `extraCapacity` blocks of room beyond its length.
BigUnsigned fromWords(const Limb *words, Index n, Index extraCapacity = 0)
{
    Index length = n * blocksPerLimb;
    constexpr Index localSize = 64;
    Blk local[localSize];
    std::unique_ptr<Blk[]> heap;
    Blk *blocks = length + extraCapacity <= localSize ? local : new Blk[length + extraCapacity];
    if (blocks != local)
        heap.reset(blocks);
    limbsToBlocks(blocks, words, length);
    while (length > 0 && blocks[length - 1] == 0)
        length--;
    for (Index i = length; i < length + extraCapacity; i++)
        blocks[i] = 0;
    return BigUnsigned(blocks, length + extraCapacity);
}

// Every power of the base is used as its odd part times a power of two, the latter applied as a
// shift: for decimal the odd part is a third shorter, and so is every product and division by it.
// The shifts are ints, so values of this many bits or more keep whole powers.
constexpr unsigned long long maxStrippedBits = 1ull << 30;

// x * 2^s, zero staying a normal zero.
BigUnsigned shiftedUp(const BigUnsigned &x, unsigned s)
{
    return x.isZero() || s == 0 ? x : x << int(s);
}

// x mod 2^s.
BigUnsigned lowBits(const BigUnsigned &x, unsigned s)
{
    const Index n = std::min(x.getLength(), Index((s + 31) / 32));
    std::vector<Blk> blocks(n);
    for (Index i = 0; i < n; i++)
        blocks[i] = x.blockAt(i);
    if (n > 0 && n * 32 > s)
        blocks[n - 1] &= (Blk(1) << (s % 32)) - 1;
    return BigUnsigned(blocks.data(), n);
}

// The digits a word holds: the largest power of the base that fits a word, and its exponent.
struct Chunk
{
    Limb power = 1;
    unsigned digits = 0;

    constexpr Chunk() = default;
    constexpr explicit Chunk(unsigned base)
    {
        assert(base >= 2);
        while (power <= Limb(~Limb(0)) / base) {
            power *= base;
            digits++;
        }
    }
};

// The chunks of the text bases made once, at compile time: a short text spent a quarter of its
// reading time finding its chunk by 19 divisions.
struct ChunkTable
{
    Chunk chunks[maximumTextBase + 1];

    constexpr ChunkTable()
    {
        for (unsigned base = 2; base <= maximumTextBase; base++)
            chunks[base] = Chunk(base);
    }
};
constexpr ChunkTable textChunks;

Chunk chunkOf(unsigned base)
{
    return base <= maximumTextBase ? textChunks.chunks[base] : Chunk(base);
}

// The digits of a chunk, least significant first: all `digits` of them when `full`, else up to
// its top non-zero digit. Returns their count.
template <unsigned constantBase = 0>
unsigned splitChunk(Limb part, unsigned digits, bool full, Digit *out, unsigned base = constantBase)
{
    unsigned j = 0;
    for (; j < digits && (full || part != 0); j++) {
        out[j] = Digit(part % (constantBase ? constantBase : base));
        part /= constantBase ? constantBase : base;
    }
    return j;
}

#ifdef __SIZEOF_INT128__
// The 19 digits of a full decimal chunk, least significant first, in four runs of five (the top
// one of four) that divide by 10 side by side instead of one run of 19 that waits on each step:
// a quarter of printing 4096 bits went to that wait. Kept out of line: inlined, it crowded the
// division loop beside it (printing 16384 bits took 7 % longer).
__attribute__((noinline)) void splitDecimalChunk(Limb part, Digit *out)
{
    const Limb high = part / 10000000000ull, low = part % 10000000000ull;
    unsigned a = unsigned(low % 100000), b = unsigned(low / 100000);
    unsigned c = unsigned(high % 100000), d = unsigned(high / 100000);
    for (unsigned j = 0; j < 4; j++) {
        out[j] = Digit(a % 10);
        out[5 + j] = Digit(b % 10);
        out[10 + j] = Digit(c % 10);
        out[15 + j] = Digit(d % 10);
        a /= 10;
        b /= 10;
        c /= 10;
        d /= 10;
    }
    out[4] = Digit(a);
    out[9] = Digit(b);
    out[14] = Digit(c);
}
#endif

// The powers of a chunk power that a conversion splits by, made on demand and kept, each as its
// odd part: the rest is a shift, applied by the caller. Only the powers of the split lengths are
// made, about two for each depth of the splits.
class ChunkPowers
{
public:
    // Without `strip`, the powers are whole (their shift 0).
    ChunkPowers(Limb chunkPower, bool strip)
        : chunkPower(chunkPower),
          twos(strip ? trailingZeroBits(chunkPower) : 0),
          bits(bitsPerLimb - 1 - leadingZeroBits(chunkPower))
    {}

    // The chunk power is at least 2^bits.
    unsigned wholeBits() const { return bits; }

    // The shift of the chunk power to the m.
    unsigned shift(Index m) const { return twos * m; }

    // Where `chunks` chunks split, 2 <= chunks: the high part (as many chunks as are left) about
    // as long as the odd part of the power that splits it off, which has fewer bits per chunk, so
    // that the products and divisions between them are of equal lengths. At most three quarters
    // low, so that splits of a nearly odd-free power still halve the work.
    Index lowChunks(Index chunks) const
    {
        const Index low = Index(static_cast<unsigned long long>(chunks) * bits / (2 * bits - twos));
        return std::max(chunks / 2, std::min(low, chunks - std::max<Index>(1, chunks / 4)));
    }

    // The odd part of the chunk power to the m, m >= 1.
    const BigUnsigned &odd(Index m)
    {
        const auto found = powers.find(m);
        if (found != powers.end())
            return found->second;
        BigUnsigned p;
        if (m == 1) {
            const Limb oddPart = chunkPower >> twos;
            p = fromWords(&oddPart, 1);
        } else {
            const BigUnsigned &half = odd(m / 2);
            p.multiply(half, half);
            if (m % 2 != 0)
                p.multiply(p, odd(1));
        }
        return powers.emplace(m, p).first->second;
    }

private:
    Limb chunkPower;
    unsigned twos;
    unsigned bits;
    std::map<Index, BigUnsigned> powers;
};

// Writes digits, splitting values by the chunk power to half their chunk count.
class DigitWriter
{
public:
    DigitWriter(unsigned base, Index splitBlocks)
        : base(base), chunk(chunkOf(base)), divisor(chunk.power), splitBlocks(splitBlocks)
    {}

    Index write(const BigUnsigned &x, Digit *out)
    {
        if (x.getLength() < splitBlocks || x.getLength() < 2 * blocksPerLimb)
            return writeSmall(x, out, 0);
        // x is below the chunk power to the `chunks`.
        ChunkPowers powers(chunk.power, x.bitLength() < maxStrippedBits);
        const unsigned bits = powers.wholeBits();
        const Index chunks = Index((x.bitLength() + bits - 1ull) / bits);
        return write(x, chunks, out, 0, powers);
    }

private:
    // The digits of v, v below the chunk power to the `chunks`; exactly `pad` of them when
    // pad > 0, else without zeros on top. Returns their count.
    Index write(const BigUnsigned &v, Index chunks, Digit *out, Index pad, ChunkPowers &powers)
    {
        if (chunks < 2 || v.getLength() < splitBlocks)
            return writeSmall(v, out, pad);
        // v divides by odd * 2^twos as v / 2^twos by odd, the bits shifted off joining the
        // remainder.
        const Index low = powers.lowChunks(chunks);
        const unsigned twos = powers.shift(low);
        BigUnsigned remainder(twos > 0 ? v >> int(twos) : v), quotient;
        remainder.divideWithRemainder(powers.odd(low), quotient);
        if (quotient.isZero()) // all in the low half: no zeros above it
            return write(v, low, out, pad, powers);
        if (twos > 0)
            remainder = shiftedUp(remainder, twos) | lowBits(v, twos);
        const Index lowDigits = low * chunk.digits;
        write(remainder, low, out, lowDigits, powers);
        return lowDigits
                + write(quotient, chunks - low, out + lowDigits, pad > 0 ? pad - lowDigits : 0,
                        powers);
    }

    Index writeSmall(const BigUnsigned &v, Digit *out, Index pad)
    {
        Index n = limbsFor(v.getLength());
        LimbBuffer buffer(n);
        Limb *w = buffer.get();
        wordsOf(v, w);
        Index count = 0;
        while (n > 0) {
            Limb part = divisor.divide(w, w, n);
            while (n > 0 && w[n - 1] == 0)
                n--;
            // Decimal, the common base, divides by a constant: a multiplication, not a division.
#ifdef __SIZEOF_INT128__
            if (base == 10 && n > 0) {
                static_assert(Chunk(10).digits == 19, "decimal chunks of 19 digits");
                splitDecimalChunk(part, out + count);
                count += 19;
            } else
#endif
                    if (base == 10)
                count += splitChunk<10>(part, chunk.digits, n > 0, out + count);
            else
                count += splitChunk(part, chunk.digits, n > 0, out + count, base);
        }
        assert(pad == 0 || count <= pad);
        for (; count < pad; count++)
            out[count] = 0;
        return count;
    }

    unsigned base;
    Chunk chunk;
    SingleDivisor divisor;
    Index splitBlocks;
};

// Decimal digits read straight from text, least significant (the last symbol) first.
struct DecimalText
{
    const char *end;
    unsigned operator[](Index i) const { return unsigned(end[-1 - std::ptrdiff_t(i)] - '0'); }
};

// The value of digits [from, to), at most a chunk, the most significant at to - 1.
template <class Digits>
Limb valueOfDigits(const Digits &digits, Index from, Index to, unsigned base)
{
    Limb part = 0;
    for (Index i = to; i > from; i--)
        part = part * base + digits[i - 1];
    return part;
}

// Decimal text: the symbols lie in order, most significant first, so eight of them at a time are
// one word whose digit pairs, then pairs of pairs, then halves combine in a few multiplications
// instead of a chain of eight.
Limb valueOfDigits(const DecimalText &text, Index from, Index to, unsigned)
{
    const char *symbol = text.end - to;
    Index n = to - from;
    Limb part = 0;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    for (; n >= 8; n -= 8, symbol += 8) {
        unsigned long long v;
        std::memcpy(&v, symbol, 8);
        v -= 0x3030303030303030ull;
        v = (v * 10 + (v >> 8)) & 0x00FF00FF00FF00FFull;
        v = (v * 100 + (v >> 16)) & 0x0000FFFF0000FFFFull;
        v = (v * 10000 + (v >> 32)) & 0xFFFFFFFFull;
        part = part * 100000000 + Limb(v);
    }
#endif
    for (; n > 0; n--, symbol++)
        part = part * 10 + unsigned(*symbol - '0');
    return part;
}

// Reads digits a word's worth (a chunk) at a time; long strings are split into halves read on
// their own, joined by the chunk power to the low half's chunk count.
template <class Digits>
class ValueReader
{
public:
    ValueReader(Digits digits, Index count, unsigned base, Index splitChunks)
        : digits(digits),
          count(count),
          base(base),
          chunk(chunkOf(base)),
          splitChunks(splitChunks),
          powers(chunk.power, 16ull * count < maxStrippedBits)
    {}

    // The value into words, which has room for limbsFor(count * 16 bits) + 1 words; returns
    // their count.
    Index read(Limb *words)
    {
        const Index chunkCount = (count + chunk.digits - 1) / chunk.digits;
        if (chunkCount < splitChunks || chunkCount < 2)
            return readSmall(0, chunkCount, words);
        const BigUnsigned value = read(0, chunkCount);
        wordsOf(value, words);
        return limbsFor(value.getLength());
    }

private:
    // The value of the digits of chunks [from, to) into words, which has room for to - from
    // limbs; returns their count.
    Index readSmall(Index from, Index to, Limb *words)
    {
        // Two chunks a pass once there are two words, times the square of the chunk power: half
        // as many passes over the words, each with two independent rows of products.
        const DoubleLimb square = DoubleLimb(chunk.power) * chunk.power;
        LimbBuffer other(to - from + 2);
        Limb *source = words, *target = other.get();
        Index length = 0;
        for (Index c = to; c > from;) {
            if (length < 2 || c - from < 2) {
                c--;
                const Limb carry = multiplyBySingleAdd(source, length, chunk.power, chunkValue(c));
                if (carry != 0)
                    source[length++] = carry;
                continue;
            }
            c -= 2;
            const DoubleLimb pair = DoubleLimb(chunkValue(c + 1)) * chunk.power + chunkValue(c);
            zeroLimbs(target + 2, length - 2);
            target[0] = Limb(pair);
            target[1] = highLimb(pair);
            target[length + 1] =
                    multiplyAddTwoLimbs(target, source, length, Limb(square), highLimb(square));
            length = trimmedLength(target, length + 2);
            std::swap(source, target);
        }
        if (source != words)
            copyLimbs(words, source, length);
        return length;
    }

    // The value of the digits of chunk c.
    Limb chunkValue(Index c) const
    {
        const Index end = (c + 1) * chunk.digits < count ? (c + 1) * chunk.digits : count;
        return valueOfDigits(digits, c * chunk.digits, end, base);
    }

    BigUnsigned read(Index from, Index to)
    {
        const Index n = to - from;
        if (n < splitChunks || n < 2) {
            LimbBuffer buffer(n + 1);
            return fromWords(buffer.get(), readSmall(from, to, buffer.get()));
        }
        const Index low = powers.lowChunks(n);
        BigUnsigned high = read(from + low, to);
        high.multiply(high, powers.odd(low));
        BigUnsigned result;
        result.add(shiftedUp(high, powers.shift(low)), read(from, from + low));
        return result;
    }

    Digits digits;
    Index count;
    unsigned base;
    Chunk chunk;
    Index splitChunks;
    ChunkPowers powers;
};

// The capacity Horner's steps leave on the value of the digits, words[0..n).
//
// The step of digit j (counted from the least significant) adds the digit to shifted = (the value
// of the digits above j) * base and makes room for shifted's length, one block more when both are
// non-zero (the first step, where shifted is zero, for one block). The shifted values only grow,
// so the last step with a non-zero digit decides, together with the last step itself; and once
// base^j >= 2^32, shifted is at least a block shorter than the value and cannot.
template <class Digits>
Index hornerCapacity(const Limb *words, Index n, Digits digits, Index count, unsigned base)
{
    const Index length = blockLengthOf(words, trimmedLength(words, n));
    if (count < 2)
        return 1;
    if (digits[0] != 0) {
        // shifted = value - digits[0]; one block shorter only when the borrow runs to the top.
        if (Blk(words[0]) >= digits[0])
            return length + 1;
        return (fromWords(words, n) - BigUnsigned(digits[0])).getLength() + 1;
    }
    unsigned long long power = base;
    for (Index j = 1; j + 1 < count && power <= 0xFFFFFFFFu; j++, power *= base) {
        if (digits[j] == 0)
            continue;
        // The digits below j are zero: shifted = value / base^j - digits[j].
        BigUnsigned remainder = fromWords(words, n), above;
        remainder.divideWithRemainder(BigUnsigned(Blk(power)), above);
        return (above - BigUnsigned(digits[j])).getLength() == length ? length + 1 : length;
    }
    return length;
}

// The value of count > 0 digits.
template <class Digits>
BigUnsigned valueOf(Digits digits, Index count, unsigned base, Index splitChunks)
{
    // Every digit adds at most 16 bits.
    LimbBuffer buffer(limbsFor(Index((16ull * count + 32 - 1) / 32)) + 1);
    Limb *words = buffer.get();
    const Index n = ValueReader<Digits>(digits, count, base, splitChunks).read(words);
    const Index capacity = hornerCapacity(words, n, digits, count, base);
    return fromWords(words, n, capacity - blockLengthOf(words, trimmedLength(words, n)));
}

} // namespace

BigUnsignedInABase::Index BaseConversion::digitsByDivision(const BigUnsigned &x, unsigned base,
                                                           Digit *digits)
{
    BigUnsigned quotient(x), remainder;
    const BigUnsigned bigBase(base);
    Index count = 0;
    while (!quotient.isZero()) {
        remainder = quotient;
        remainder.divideWithRemainder(bigBase, quotient);
        digits[count++] = remainder.toUnsignedShort();
    }
    return count;
}

BigUnsignedInABase::Index BaseConversion::digitsFast(const BigUnsigned &x, unsigned base,
                                                     Digit *digits, Index splitBlocks)
{
    assert(isNormal(x));
    return DigitWriter(base, splitBlocks).write(x, digits);
}

BigUnsigned BaseConversion::valueByHorner(const Digit *digits, Index count, unsigned base)
{
    BigUnsigned result, shifted, digit;
    const BigUnsigned bigBase(base);
    for (Index i = count; i > 0; i--) {
        shifted.multiply(result, bigBase);
        digit.setBlock(0, digits[i - 1]);
        result.add(shifted, digit);
    }
    return result;
}

BigUnsigned BaseConversion::valueFast(const Digit *digits, Index count, unsigned base,
                                      Index splitChunks)
{
    assert(count == 0 || digits[count - 1] != 0);
    return count == 0 ? BigUnsigned() : valueOf(digits, count, base, splitChunks);
}

BigUnsigned BaseConversion::valueOfDecimal(const std::string &text)
{
    // As the string constructor reads it: the first Index(size) symbols, zeros on top dropped.
    const Index count = Index(text.size());
    Index significant = count;
    while (significant > 0 && text[count - significant] == '0')
        significant--;
    return significant == 0
            ? BigUnsigned()
            : valueOf(DecimalText{text.data() + count}, significant, 10, fromDigitsSplitChunks);
}

BigUnsignedInABase::BigUnsignedInABase(const Digit *digits, Index count, Base base)
    : BlockArray<Digit>(digits, count), base(base)
{
    if (base < 2)
        throw "BigUnsignedInABase::BigUnsignedInABase(const Digit *, Index, Base): The base must "
              "be at least 2";
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
    // Dividing a value with zero blocks on top can leave a zero digit on top: only the reference
    // knows how many.
    length = isNormal(x) ? BaseConversion::digitsFast(x, base, blocks)
                         : BaseConversion::digitsByDivision(x, base, blocks);
    assert(length <= capacity);
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
    // Digits made from a value with zero blocks on top can have a zero digit on top: the
    // reference's steps know the capacity that leaves.
    if (length > 0 && blocks[length - 1] == 0)
        return BaseConversion::valueByHorner(blocks, length, base);
    return BaseConversion::valueFast(blocks, length, base);
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
    char *symbol = &text[0];
    const Digit *digit = blocks + length; // the most significant digit last
    if (base <= 10) { // digits only: a loop the compiler turns into vector instructions
        for (Index i = 0; i < length; i++)
            symbol[i] = char('0' + digit[-1 - std::ptrdiff_t(i)]);
        return text;
    }
    for (Index i = 0; i < length; i++) {
        const Digit d = digit[-1 - std::ptrdiff_t(i)];
        symbol[i] = char(d < 10 ? '0' + d : 'A' + d - 10);
    }
    return text;
}
