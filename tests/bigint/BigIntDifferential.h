#ifndef ORVEX_TESTS_BIGINT_BIGINTDIFFERENTIAL_H
#define ORVEX_TESTS_BIGINT_BIGINTDIFFERENTIAL_H

// The integer library against GMP on a program read from bytes: the differential test feeds it
// random bytes from a printed seed, the fuzz target libFuzzer's. Four unsigned and four signed
// registers start at zero; each step reads an operation and its registers, so receiver and
// operands often coincide and the aliased forms come up. After a step the registers written must
// be in normal form and hold GMP's result, and the others must be as they were. The texts thrown
// on purpose, the state they leave and the shape of the deliberately non-normal results are
// pinned by the tables of the other tests; a program only checks that the right text comes.

#include "bigint/BigIntText.h"
#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"
#include "bigint/BigUnsignedInABase.h"
#include "bigint/NumberTheory.h"

#include "bigint/BigIntTestHelpers.h"
#include "common/Check.h"
#include "common/GmpValue.h"

#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace BigIntDifferential {

typedef BigUnsigned U;
typedef BigInteger I;

// The program; past its end every byte reads 0.
struct Bytes
{
    const std::uint8_t *data;
    std::size_t size, at;
    unsigned next() { return at < size ? data[at++] : 0; }
    unsigned pair()
    {
        const unsigned high = next();
        return high << 8 | next();
    }
};

// A length byte (up to 12 blocks, one in sixteen from 80 to 230, past the Karatsuba threshold)
// and a seed for the blocks, half of them values that provoke carries, borrows and quotient
// corrections.
inline U operand(Bytes &in)
{
    const unsigned size = in.next();
    const unsigned count = size < 240 ? size % 13 : 80 + (size - 240) * 10;
    std::uint32_t state = in.pair();
    static const U::Blk special[] = {0, 1, 0x80000000u, 0xFFFFFFFFu};
    std::vector<U::Blk> blocks(count + 1);
    for (unsigned i = 0; i < count; i++) {
        state = state * 1664525u + 1013904223u;
        blocks[i] = state >> 31 ? special[state >> 29 & 3] : (state ^ state >> 15) * 2654435761u;
    }
    return U(blocks.data(), count);
}

inline int signOf(int c)
{
    return (c > 0) - (c < 0);
}

class Machine
{
public:
    void step(Bytes &in);

private:
    void expect(const U &x, const mpz_class &value, const char *what)
    {
        check(isNormal(x) && toGmp(x) == value, what);
        written[&x - u] = true;
    }
    void expect(const I &x, const mpz_class &value, const char *what)
    {
        check(isNormal(x.getMagnitude()) && (x.getSign() == I::zero) == x.getMagnitude().isZero()
                      && toGmp(x) == value,
              what);
        written[4 + (&x - s)] = true;
    }
    // r[d] = r[a] op r[b] through the member, the operator or, when d is a, the compound operator.
    template <class V, class Operator>
    void binary(V *r, void (V::*member)(const V &, const V &), Operator op,
                V &(V::*compound)(const V &))
    {
        if (form % 3 == 0)
            (r[d].*member)(r[a], r[b]);
        else if (form % 3 == 1 || d != a)
            r[d] = op(r[a], r[b]);
        else
            (r[d].*compound)(r[b]);
    }
    // What unsigned and signed values share, on r = u or s; GMP's floor division serves both.
    template <class V>
    void arithmetic(V *r, const mpz_class *was, unsigned op)
    {
        const mpz_class &x = was[a], &y = was[b];
        const bool isUnsigned = std::is_same<V, U>::value;
        const std::string name = isUnsigned ? "BigUnsigned::" : "BigInteger::";
        mpz_class quotient, remainder = was[d];
        switch (op) {
        case 0:
            binary(r, &V::add, std::plus<V>(), &V::operator+=);
            return expect(r[d], x + y, "add");
        case 1:
            if (isUnsigned && x < y)
                throws = "BigUnsigned::subtract: Negative result in unsigned calculation";
            binary(r, &V::subtract, std::minus<V>(), &V::operator-=);
            return expect(r[d], x - y, "subtract");
        case 2:
            binary(r, &V::multiply, std::multiplies<V>(), &V::operator*=);
            return expect(r[d], x * y, "multiply");
        case 3: {
            // Quotient into r[q], remainder into r[d]; the divisor may be either. By zero: the
            // quotient 0, the dividend kept.
            const unsigned q = (d + form % 4) % 4;
            if (q == d)
                throws = name
                        + "divideWithRemainder: Cannot write quotient and remainder into the "
                          "same variable";
            if (y != 0)
                mpz_fdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), was[d].get_mpz_t(),
                            y.get_mpz_t());
            r[d].divideWithRemainder(r[b], r[q]);
            expect(r[q], quotient, "quotient");
            return expect(r[d], remainder, "remainder");
        }
        case 4:
            if (y == 0)
                throws = name + "operator " + (form & 4 ? "/" : "%")
                        + (form & 8 && d == a ? "=" : "") + ": division by zero";
            else
                mpz_fdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), x.get_mpz_t(),
                            y.get_mpz_t());
            if (form & 8 && d == a)
                form & 4 ? r[d] /= r[b] : r[d] %= r[b];
            else
                r[d] = form & 4 ? r[a] / r[b] : r[a] % r[b];
            return expect(r[d], form & 4 ? quotient : remainder, "division operator");
        default:
            if (isUnsigned && form & 1 && was[d] == 0)
                throws = "BigUnsigned::operator --(): Cannot decrement an unsigned zero";
            if (form & 1)
                form & 2 ? --r[d] : (r[d]--, r[d]);
            else
                form & 2 ? ++r[d] : (r[d]++, r[d]);
            expect(r[d], was[d] + (form & 1 ? -1 : 1), "increment, decrement");
        }
    }
    void unsignedStep(unsigned op, Bytes &in);
    void textStep(unsigned op, Bytes &in);
    void numberTheoryStep(unsigned op);

    U u[4];
    I s[4];
    mpz_class before[8];
    bool written[8];
    unsigned d = 0, a = 0, b = 0, form = 0;
    std::string throws; // the text the step must throw
};

inline void Machine::step(Bytes &in)
{
    const unsigned op = in.next() % 32;
    d = in.next() % 4, a = in.next() % 4, b = in.next() % 4, form = in.next();
    for (int i = 0; i < 4; i++) {
        // Long values are cut to their low 64 blocks, so that a program stays quick.
        if (u[i].getLength() > 300)
            u[i] = U(blocksOf(u[i]).constData(), 64);
        if (s[i].getMagnitude().getLength() > 300)
            s[i] = I(blocksOf(s[i].getMagnitude()).constData(), 64, s[i].getSign());
        before[i] = toGmp(u[i]);
        before[4 + i] = toGmp(s[i]);
        written[i] = written[4 + i] = false;
    }
    throws.clear();
    try {
        if (op < 6)
            arithmetic(u, before, op);
        else if (op < 12)
            arithmetic(s, before + 4, op - 6);
        else if (op < 21)
            unsignedStep(op - 12, in);
        else if (op < 24)
            textStep(op - 21, in);
        else
            numberTheoryStep(op - 24);
        check(throws.empty(), "nothing thrown");
    } catch (const char *text) {
        // What the receiver holds after a throw is the tables' business: it starts afresh.
        check(throws == text, text);
        u[d] = U(), s[d] = I();
        written[d] = written[4 + d] = true;
    }
    for (int i = 0; i < 8; i++)
        check(written[i] || before[i] == (i < 4 ? toGmp(u[i]) : toGmp(s[i - 4])), "operand kept");
}

inline void Machine::unsignedStep(unsigned op, Bytes &in)
{
    const mpz_class &x = before[a], &y = before[b];
    switch (op) {
    case 0:
        u[d] = operand(in);
        written[d] = true;
        break;
    case 1: {
        // Now and then a sign the checking constructors refuse; the block form gets a zero block
        // on top to drop.
        const U magnitude = operand(in);
        const int sign = form & 0x40 ? int(form % 5) - 2 : (form & 1 ? -1 : 1);
        const std::string name = form & 8 ? "BigInteger::BigInteger(const Blk *, Index, Sign): "
                                          : "BigInteger::BigInteger(const BigUnsigned &, Sign): ";
        if (sign < -1 || sign > 1)
            throws = name + "Invalid sign";
        else if (sign == 0 && !magnitude.isZero())
            throws = name + "Cannot use a sign of zero with a nonzero magnitude";
        const Blocks blocks = blocksOf(magnitude) << 0;
        s[d] = form & 8 ? I(blocks.constData(), I::Index(blocks.size()), I::Sign(sign))
                        : I(magnitude, I::Sign(sign));
        return expect(s[d], sign < 0 ? mpz_class(-toGmp(magnitude)) : toGmp(magnitude),
                      "sign checked");
    }
    case 2: {
        // A product plus a short value: a dividend that gives long division work to do.
        const U extra = operand(in);
        u[d].multiply(u[a], u[b]);
        return expect(u[d] += extra, x * y + toGmp(extra), "multiply, add");
    }
    case 3:
        binary(u, &U::bitAnd, std::bit_and<U>(), &U::operator&=);
        return expect(u[d], x & y, "and");
    case 4:
        binary(u, &U::bitOr, std::bit_or<U>(), &U::operator|=);
        return expect(u[d], x | y, "or");
    case 5:
        binary(u, &U::bitXor, std::bit_xor<U>(), &U::operator^=);
        return expect(u[d], x ^ y, "xor");
    case 6: {
        const int n = form >= 0xF8 ? INT_MIN : int(in.pair() % 1600) - 300;
        const bool left = form & 1;
        if (n == INT_MIN)
            throws = std::string("BigUnsigned::bitShift") + (left ? "Left" : "Right")
                    + ": Pathological shift amount not implemented";
        if (form & 2)
            left ? u[d].bitShiftLeft(u[a], n) : u[d].bitShiftRight(u[a], n);
        else if (form & 4 && d == a)
            left ? u[d] <<= n : u[d] >>= n;
        else
            u[d] = left ? u[a] << n : u[a] >> n;
        const int leftBy = left ? n : -n;
        // Zero shifted left keeps a zero block per whole block of the shift, as the tables pin.
        if (x == 0 && leftBy >= 32) {
            check(toGmp(u[d]) == 0 && u[d].getLength() == unsigned(leftBy) / 32, "zero shifted");
            u[d] = U();
        }
        return expect(u[d], leftBy >= 0 ? mpz_class(x << leftBy) : mpz_class(x >> -leftBy),
                      "shift");
    }
    case 7: {
        const unsigned bit = in.pair() % 1100;
        check(u[a].bitLength() == (x == 0 ? 0 : mpz_sizeinbase(x.get_mpz_t(), 2)), "bitLength");
        check(u[a].bitAt(bit) == bool(mpz_tstbit(x.get_mpz_t(), bit)), "bitAt");
        check(signOf(u[a].compareTo(u[b])) == signOf(cmp(x, y)), "compare");
        mpz_class expected = x;
        u[d] = u[a];
        if (form & 1) {
            u[d].setBit(bit, form & 2);
            form & 2 ? mpz_setbit(expected.get_mpz_t(), bit)
                     : mpz_clrbit(expected.get_mpz_t(), bit);
        } else {
            const U::Blk block = form & 2 ? 0 : U::Blk(in.pair()) * 0x10001u;
            u[d].setBlock(bit / 32, block);
            const mpz_class place = mpz_class(1) << (bit / 32 * 32);
            expected += (block - (expected / place) % (mpz_class(1) << 32)) * place;
        }
        return expect(u[d], expected, "setBit, setBlock");
    }
    default:
        // The comparison operators, each one call of compareTo, are the exhaustive tables' business.
        check(signOf(s[a].compareTo(s[b])) == signOf(cmp(before[4 + a], before[4 + b])),
              "signed compare");
        form & 1 ? s[d].negate(s[a]) : void(s[d] = -s[a]);
        expect(s[d], -before[4 + a], "negate");
    }
}

inline void Machine::textStep(unsigned op, Bytes &in)
{
    const mpz_class &x = before[a];
    switch (op) {
    case 0: {
        // Upper-case digits without zeros on top; read back in any case with leading zeros.
        const unsigned base = 2 + form % 35;
        std::string text = mpz_class(x).get_str(-int(base));
        check(std::string(BigUnsignedInABase(u[a], base)) == text, "to text");
        for (std::size_t i = 0; i < text.size(); i++)
            text[i] = in.next() & 1 ? char(text[i] | 0x20) : text[i];
        text.insert(0, form >> 6, '0');
        return expect(u[d] = U(BigUnsignedInABase(text, base)), x, "from text");
    }
    case 1: {
        const mpz_class &sx = before[4 + a];
        check(bigIntegerToString(s[a]) == sx.get_str(10), "decimal text");
        return expect(s[d] = stringToBigInteger(sx.get_str(10)), sx, "from decimal text");
    }
    default: {
        // Any base up to 65535: the digits, least significant first, are GMP's.
        const unsigned base = 2 + in.pair() % 65534;
        const BigUnsignedInABase digits(u[a], BigUnsignedInABase::Base(base));
        mpz_class rest = x;
        for (BigUnsignedInABase::Index i = 0; i < digits.getLength(); i++) {
            check(rest != 0
                          && digits.blockAt(i)
                                  == mpz_fdiv_q_ui(rest.get_mpz_t(), rest.get_mpz_t(), base),
                  "digits");
        }
        check(rest == 0 && digits.getBase() == base, "digit count");
        return expect(u[d] = U(digits), x, "digits to number");
    }
    }
}

inline void Machine::numberTheoryStep(unsigned op)
{
    const mpz_class &x = before[a], &y = before[b], &sx = before[4 + a], &sy = before[4 + b];
    switch (op % 4) {
    case 0:
        return expect(u[d] = gcd(u[a], u[b]), gcd(x, y), "gcd");
    case 1: {
        // g is a greatest common divisor up to its sign, and r*m + s*n == g.
        I &g = s[d], &r = s[(d + 1) % 4], &t = s[(d + 2) % 4];
        extendedEuclidean(s[a], s[b], g, r, t);
        const mpz_class gg = toGmp(g);
        check(abs(gg) == gcd(sx, sy) && toGmp(r) * sx + toGmp(t) * sy == gg, "extendedEuclidean");
        written[4 + d] = written[4 + (d + 1) % 4] = written[4 + (d + 2) % 4] = true;
        break;
    }
    case 2: {
        // A 64-bit exponent at most; exponent 0 gives 1 unreduced, also modulo 1.
        if (y == 0)
            throws = "BigInteger::operator %: division by zero";
        U exponent(u[(a + b) % 4].blockAt(0));
        exponent.setBlock(1, u[(a + b) % 4].blockAt(1));
        const mpz_class e = toGmp(exponent);
        mpz_class expected = 1;
        if (e != 0 && y != 0)
            mpz_powm(expected.get_mpz_t(), sx.get_mpz_t(), e.get_mpz_t(), y.get_mpz_t());
        expect(u[d] = modexp(s[a], exponent, u[b]), expected, "modexp");
        if (s[a].getMagnitude().getLength() <= 8) {
            mpz_class power = abs(sx);
            mpz_pow_ui(power.get_mpz_t(), power.get_mpz_t(), form % 73);
            expect(u[d] = exp(s[a], U(form % 73)), power, "exp");
        }
        break;
    }
    default: {
        // GMP calls everything invertible modulo 1, and so does modinv, giving 0. Modulo 0 only
        // 1 has g = 1, and then the remainder by 0 throws.
        mpz_class inverse;
        if (y == 0 && sx == 1)
            throws = "BigInteger::operator %: division by zero";
        else if (y == 0 || mpz_invert(inverse.get_mpz_t(), sx.get_mpz_t(), y.get_mpz_t()) == 0)
            throws = "BigInteger modinv: x and n have a common factor";
        expect(u[d] = modinv(s[a], u[b]), inverse, "modinv");
    }
    }
}

// Runs the program in data, up to 300 steps; a difference from GMP aborts with its name.
inline void run(const std::uint8_t *data, std::size_t size)
{
    Bytes in{data, size, 0};
    Machine machine;
    for (int steps = 0; steps < 300 && in.at < in.size; steps++)
        machine.step(in);
}

} // namespace BigIntDifferential

#endif // ORVEX_TESTS_BIGINT_BIGINTDIFFERENTIAL_H
