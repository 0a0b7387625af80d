// Integer arithmetic driven by bytes, checked against GMP after every step.
//
// Four unsigned and four signed registers start at zero, each mirrored by a GMP value. Every
// operation byte picks an operation and its registers (receiver and operands may coincide, so the
// aliased forms come up); its outcome is worked out on the mirrors first: the new values, or the
// text that must be thrown together with what the receiver holds afterwards. After each step every
// register must be in normal form and equal its mirror. Registers past 40 blocks are cut to their
// low 256 bits so that the bit-by-bit multiplication and division stay quick.
#include <bigint/BigIntText.h>
#include <bigint/BigInteger.h>
#include <bigint/BigUnsigned.h>
#include <bigint/BigUnsignedInABase.h>
#include <bigint/NumberTheory.h>

#include "GmpMirror.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gmp.h>

namespace {

// The text thrown by f, or null; anything other than a library text is a fault.
template <class F>
const char *thrown(F &&f)
{
    try {
        f();
    } catch (const char *text) {
        return text;
    } catch (...) {
        std::abort();
    }
    return nullptr;
}

void requireText(const char *actual, const char *expected)
{
    require(actual == expected
            || (actual != nullptr && expected != nullptr && std::strcmp(actual, expected) == 0));
}

template <class F>
void requireQuiet(F &&f)
{
    requireText(thrown(f), nullptr);
}

constexpr const char *negativeResultText =
        "BigUnsigned::subtract: Negative result in unsigned calculation";
constexpr const char *unsignedSameVariableText = "BigUnsigned::divideWithRemainder: Cannot write "
                                                 "quotient and remainder into the same variable";
constexpr const char *signedSameVariableText = "BigInteger::divideWithRemainder: Cannot write "
                                               "quotient and remainder into the same variable";
constexpr const char *decrementZeroText =
        "BigUnsigned::operator --(): Cannot decrement an unsigned zero";
constexpr const char *unsignedTooBigText =
        "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type";
constexpr const char *unsignedReadsNegativeText =
        "BigUnsigned::to(Primitive): Value is too big to fit in the requested type";
constexpr const char *signedTooBigText =
        "BigInteger::to<Primitive>: Value is too big to fit in the requested type";
constexpr const char *negativeToUnsignedText =
        "BigInteger::to<Primitive>: Cannot convert a negative integer to an unsigned type";
constexpr const char *signedModZeroText = "BigInteger::operator %: division by zero";

class Bytes
{
public:
    Bytes(const std::uint8_t *data, std::size_t size) : data(data), size(size) {}
    bool atEnd() const { return at >= size; }
    unsigned next() { return at < size ? data[at++] : 0; }
    unsigned reg() { return next() % 4; }
    std::uint32_t block()
    {
        std::uint32_t b = 0;
        for (int i = 0; i < 4; ++i)
            b = b << 8 | next();
        return b;
    }

private:
    const std::uint8_t *data;
    std::size_t size;
    std::size_t at = 0;
};

class Machine
{
public:
    explicit Machine(Bytes &in) : in(in) {}
    void step();
    void check() const;

private:
    BigUnsigned readMagnitude();
    void unsignedArithmetic(unsigned op);
    void unsignedDivision(unsigned op);
    void unsignedShift();
    void unsignedConversion();
    void signedArithmetic(unsigned op);
    void signedDivision(unsigned op);
    void signedConversion();
    void numberTheory(unsigned op);
    void bound();

    Bytes &in;
    BigUnsigned u[4];
    Mpz uu[4];
    BigInteger s[4];
    Mpz ss[4];
};

BigUnsigned Machine::readMagnitude()
{
    BigUnsigned::Blk blocks[4];
    const unsigned count = in.next() % 5;
    for (unsigned i = 0; i < count; ++i)
        blocks[i] = in.block();
    return BigUnsigned(blocks, count);
}

void Machine::unsignedArithmetic(unsigned op)
{
    const unsigned d = in.reg(), a = in.reg(), b = in.reg();
    const Mpz x = uu[a], y = uu[b];
    Mpz r;
    switch (op) {
    case 0:
        mpz_add(r.v, x.v, y.v);
        requireQuiet([&] {
            in.next() & 1 ? u[d].add(u[a], u[b]) : void(u[d] = u[a] + u[b]);
        });
        break;
    case 1: {
        // On a negative result the receiver keeps its value when it is an operand or when the
        // length test refuses first, and is left zero when the borrow runs off the top.
        const bool lengthRefuses = u[a].getLength() < u[b].getLength();
        const bool viaOperator = in.next() & 1;
        const char *text = thrown([&] {
            viaOperator ? void(u[d] = u[a] - u[b]) : u[d].subtract(u[a], u[b]);
        });
        if (mpz_cmp(x.v, y.v) < 0) {
            requireText(text, negativeResultText);
            r = uu[d];
            if (!viaOperator && d != a && d != b && !lengthRefuses)
                mpz_set_ui(r.v, 0);
        } else {
            requireText(text, nullptr);
            mpz_sub(r.v, x.v, y.v);
        }
        break;
    }
    case 2:
        mpz_mul(r.v, x.v, y.v);
        requireQuiet([&] {
            in.next() & 1 ? u[d].multiply(u[a], u[b]) : void(u[d] = u[a] * u[b]);
        });
        break;
    case 3:
        mpz_and(r.v, x.v, y.v);
        requireQuiet([&] {
            u[d].bitAnd(u[a], u[b]);
        });
        break;
    case 4:
        mpz_ior(r.v, x.v, y.v);
        requireQuiet([&] {
            u[d] = u[a] | u[b];
        });
        break;
    case 5:
        mpz_xor(r.v, x.v, y.v);
        requireQuiet([&] {
            u[d].bitXor(u[a], u[b]);
        });
        break;
    case 6:
        requireQuiet([&] {
            in.next() & 1 ? ++u[d] : (u[d]++, u[d]);
        });
        r = uu[d];
        mpz_add_ui(r.v, r.v, 1);
        break;
    default: {
        const char *text = thrown([&] {
            --u[d];
        });
        r = uu[d];
        if (r.sign() == 0) {
            requireText(text, decrementZeroText);
        } else {
            requireText(text, nullptr);
            mpz_sub_ui(r.v, r.v, 1);
        }
    }
    }
    uu[d] = r;
}

void Machine::unsignedDivision(unsigned op)
{
    const unsigned d = in.reg(), b = in.reg(), q = in.reg();
    const Mpz x = uu[d], y = uu[b];
    Mpz quotient, remainder;
    if (y.sign() != 0)
        mpz_fdiv_qr(quotient.v, remainder.v, x.v, y.v);
    switch (op) {
    case 0: {
        // The quotient register may be the divisor; a zero divisor leaves the dividend.
        const char *text = thrown([&] {
            u[d].divideWithRemainder(u[b], u[q]);
        });
        if (q == d) {
            requireText(text, unsignedSameVariableText);
            return;
        }
        requireText(text, nullptr);
        uu[q] = quotient;
        uu[d] = y.sign() == 0 ? x : remainder;
        return;
    }
    case 1:
    case 2: {
        const char *text = thrown([&] {
            u[q] = op == 1 ? u[d] / u[b] : u[d] % u[b];
        });
        if (y.sign() == 0) {
            requireText(text,
                        op == 1 ? "BigUnsigned::operator /: division by zero"
                                : "BigUnsigned::operator %: division by zero");
            return;
        }
        requireText(text, nullptr);
        uu[q] = op == 1 ? quotient : remainder;
        return;
    }
    default: {
        const bool quotientWanted = in.next() & 1;
        const char *text = thrown([&] {
            quotientWanted ? u[d] /= u[b] : u[d] %= u[b];
        });
        if (y.sign() == 0) {
            requireText(text,
                        quotientWanted ? "BigUnsigned::operator /=: division by zero"
                                       : "BigUnsigned::operator %=: division by zero");
            return;
        }
        requireText(text, nullptr);
        uu[d] = quotientWanted ? quotient : remainder;
    }
    }
}

void Machine::unsignedShift()
{
    const unsigned d = in.reg(), a = in.reg();
    const unsigned how = in.next();
    const bool left = how & 1;
    int n = int(std::int16_t(in.next() << 8 | in.next())) % 1100;
    if (how == 0xFF || how == 0xFE)
        n = INT_MIN;
    const Mpz x = uu[a];
    const char *text = thrown([&] {
        if (how & 2)
            left ? u[d].bitShiftLeft(u[a], n) : u[d].bitShiftRight(u[a], n);
        else
            left ? void(u[d] = u[a] << n) : void(u[d] = u[a] >> n);
    });
    if (n == INT_MIN) {
        requireText(text,
                    left ? "BigUnsigned::bitShiftLeft: Pathological shift amount not implemented"
                         : "BigUnsigned::bitShiftRight: Pathological shift amount not implemented");
        return;
    }
    requireText(text, nullptr);
    const int leftBy = left ? n : -n;
    if (leftBy >= 0)
        mpz_mul_2exp(uu[d].v, x.v, unsigned(leftBy));
    else
        mpz_fdiv_q_2exp(uu[d].v, x.v, unsigned(-leftBy));
    if (x.sign() == 0 && leftBy >= 32) {
        // Deliberate in the library: zero shifted left keeps one zero block per whole block of
        // the shift. Checked here, then replaced by a true zero so the run goes on in normal form.
        require(u[d].getLength() == unsigned(leftBy) / 32);
        for (unsigned i = 0; i < u[d].getLength(); ++i)
            require(u[d].blockAt(i) == 0);
        u[d] = BigUnsigned();
    }
}

void Machine::unsignedConversion()
{
    const BigUnsigned &x = u[in.reg()];
    const unsigned which = in.next() % 6;
    const unsigned length = x.getLength();
    const std::uint32_t b = x.blockAt(0);
    long got = 0;
    const char *text = thrown([&] {
        switch (which) {
        case 0:
            got = long(x.toUnsignedLong());
            break;
        case 1:
            got = long(x.toUnsignedInt());
            break;
        case 2:
            got = x.toUnsignedShort();
            break;
        case 3:
            got = x.toLong();
            break;
        case 4:
            got = x.toInt();
            break;
        default:
            got = x.toShort();
            break;
        }
    });
    const char *expectedText = nullptr;
    if (length > 1)
        expectedText = unsignedTooBigText;
    else if (which == 2 && b > 0xFFFF)
        expectedText = unsignedTooBigText;
    else if (which == 4 && b >= 0x80000000u)
        expectedText = unsignedReadsNegativeText;
    else if (which == 5 && b > 0x7FFF)
        expectedText = b >= 0xFFFF8000u ? unsignedReadsNegativeText : unsignedTooBigText;
    requireText(text, expectedText);
    if (!expectedText)
        require(got == long(b));
    const unsigned other = in.reg();
    require(int(x.compareTo(u[other]))
            == (mpz_cmp(toMpz(x).v, uu[other].v) > 0) - (mpz_cmp(toMpz(x).v, uu[other].v) < 0));
    if (length <= 8) {
        char *decimal = mpz_get_str(nullptr, 10, toMpz(x).v);
        require(bigUnsignedToString(x) == decimal);
        free(decimal);
        const BigUnsignedInABase::Base base = BigUnsignedInABase::Base(2 + in.next() * 257 % 65534);
        const BigUnsignedInABase digits(x, base);
        require(BigUnsigned(digits) == x);
    }
}

void Machine::signedArithmetic(unsigned op)
{
    const unsigned d = in.reg(), a = in.reg(), b = in.reg();
    const Mpz x = ss[a], y = ss[b];
    Mpz r;
    const bool viaOperator = in.next() & 1;
    const char *text = thrown([&] {
        switch (op) {
        case 0:
            viaOperator ? void(s[d] = s[a] + s[b]) : s[d].add(s[a], s[b]);
            break;
        case 1:
            viaOperator ? void(s[d] = s[a] - s[b]) : s[d].subtract(s[a], s[b]);
            break;
        case 2:
            viaOperator ? void(s[d] = s[a] * s[b]) : s[d].multiply(s[a], s[b]);
            break;
        case 3:
            viaOperator ? void(s[d] = -s[a]) : s[d].negate(s[a]);
            break;
        case 4:
            viaOperator ? ++s[d] : (s[d]++, s[d]);
            break;
        default:
            viaOperator ? --s[d] : (s[d]--, s[d]);
            break;
        }
    });
    requireText(text, nullptr);
    switch (op) {
    case 0:
        mpz_add(r.v, x.v, y.v);
        break;
    case 1:
        mpz_sub(r.v, x.v, y.v);
        break;
    case 2:
        mpz_mul(r.v, x.v, y.v);
        break;
    case 3:
        mpz_neg(r.v, x.v);
        break;
    case 4:
        mpz_add_ui(r.v, ss[d].v, 1);
        break;
    default:
        mpz_sub_ui(r.v, ss[d].v, 1);
        break;
    }
    ss[d] = r;
}

void Machine::signedDivision(unsigned op)
{
    const unsigned d = in.reg(), b = in.reg(), q = in.reg();
    const Mpz x = ss[d], y = ss[b];
    // Floor division: the remainder takes the sign of the divisor.
    Mpz quotient, remainder;
    if (y.sign() != 0)
        mpz_fdiv_qr(quotient.v, remainder.v, x.v, y.v);
    static const char *const zeroTexts[] = {"BigInteger::operator /: division by zero",
                                            "BigInteger::operator %: division by zero",
                                            "BigInteger::operator /=: division by zero",
                                            "BigInteger::operator %=: division by zero"};
    if (op == 0) {
        const char *text = thrown([&] {
            s[d].divideWithRemainder(s[b], s[q]);
        });
        if (q == d) {
            requireText(text, signedSameVariableText);
            return;
        }
        requireText(text, nullptr);
        ss[q] = quotient;
        ss[d] = y.sign() == 0 ? x : remainder;
        return;
    }
    const unsigned form = op - 1;
    const char *text = thrown([&] {
        switch (form) {
        case 0:
            s[q] = s[d] / s[b];
            break;
        case 1:
            s[q] = s[d] % s[b];
            break;
        case 2:
            s[d] /= s[b];
            break;
        default:
            s[d] %= s[b];
            break;
        }
    });
    if (y.sign() == 0) {
        requireText(text, zeroTexts[form]);
        return;
    }
    requireText(text, nullptr);
    ss[form < 2 ? q : d] = form % 2 == 0 ? quotient : remainder;
}

void Machine::signedConversion()
{
    const BigInteger &x = s[in.reg()];
    const Mpz value = ss[&x - s];
    const unsigned which = in.next() % 4;
    const bool oneBlock = x.getMagnitude().getLength() <= 1;
    const std::uint32_t b = x.getMagnitude().blockAt(0);
    long got = 0;
    const char *text = thrown([&] {
        switch (which) {
        case 0:
            got = x.toLong();
            break;
        case 1:
            got = x.toInt();
            break;
        case 2:
            got = x.toShort();
            break;
        default:
            got = long(x.toUnsignedInt());
            break;
        }
    });
    const char *expectedText = nullptr;
    if (which == 3 && value.sign() < 0)
        expectedText = negativeToUnsignedText;
    else if (!oneBlock)
        expectedText = which == 3 ? unsignedTooBigText : signedTooBigText;
    else if (which == 1 && b >= 0x80000000u)
        expectedText = signedTooBigText;
    else if (which == 2 && (value.sign() < 0 ? b > 0x8000 : b > 0x7FFF))
        expectedText = signedTooBigText;
    requireText(text, expectedText);
    if (!expectedText)
        require(got == (value.sign() < 0 ? -long(b) : long(b)));
    const unsigned other = in.reg();
    require(int(x.compareTo(s[other]))
            == (mpz_cmp(value.v, ss[other].v) > 0) - (mpz_cmp(value.v, ss[other].v) < 0));
    if (x.getMagnitude().getLength() <= 8) {
        char *decimal = mpz_get_str(nullptr, 10, value.v);
        require(bigIntegerToString(x) == decimal);
        free(decimal);
    }
}

// Extended Euclid with floor division, step for step, so that g, r and s carry the same signs.
void expectedEuclid(Mpz m, Mpz n, Mpz &g, Mpz &r, Mpz &s)
{
    Mpz r1(1), s1(0), r2(0), s2(1), q, t;
    for (;;) {
        if (n.sign() == 0) {
            g = m, r = r1, s = s1;
            return;
        }
        mpz_fdiv_qr(q.v, m.v, m.v, n.v);
        mpz_submul(r1.v, q.v, r2.v);
        mpz_submul(s1.v, q.v, s2.v);
        if (m.sign() == 0) {
            g = n, r = r2, s = s2;
            return;
        }
        mpz_fdiv_qr(q.v, n.v, n.v, m.v);
        mpz_submul(r2.v, q.v, r1.v);
        mpz_submul(s2.v, q.v, s1.v);
    }
}

void Machine::numberTheory(unsigned op)
{
    const unsigned d = in.reg(), a = in.reg(), b = in.reg(), c = in.reg();
    switch (op) {
    case 0: {
        Mpz g;
        mpz_gcd(g.v, uu[a].v, uu[b].v);
        requireQuiet([&] {
            u[d] = gcd(u[a], u[b]);
        });
        uu[d] = g;
        return;
    }
    case 1: {
        // Exponents are kept short: the square-and-multiply runs once per exponent bit.
        if (u[b].bitLength() > 64)
            return;
        const Mpz base = ss[a], exponent = uu[b], modulus = uu[c];
        const char *text = thrown([&] {
            u[d] = modexp(s[a], u[b], u[c]);
        });
        if (modulus.sign() == 0) {
            requireText(text, signedModZeroText);
            return;
        }
        requireText(text, nullptr);
        // Deliberate in the library: exponent 0 gives 1 unreduced.
        if (exponent.sign() == 0)
            mpz_set_ui(uu[d].v, 1);
        else
            mpz_powm(uu[d].v, base.v, exponent.v, modulus.v);
        return;
    }
    case 2: {
        if (u[b].bitLength() > 5 || s[a].getMagnitude().getLength() > 4)
            return;
        const Mpz base = ss[a];
        const unsigned long exponent = mpz_get_ui(uu[b].v);
        requireQuiet([&] {
            u[d] = exp(s[a], u[b]);
        });
        mpz_abs(uu[d].v, base.v);
        mpz_pow_ui(uu[d].v, uu[d].v, exponent);
        return;
    }
    case 3: {
        const Mpz m = ss[a], n = ss[b];
        const char *text = thrown([&] {
            extendedEuclidean(s[a], s[b], s[d], s[c], s[(c + 1) % 4]);
        });
        if (d == c || d == (c + 1) % 4) {
            requireText(text, "BigInteger extendedEuclidean: Outputs are aliased");
            return;
        }
        requireText(text, nullptr);
        Mpz g, r, t;
        expectedEuclid(m, n, g, r, t);
        ss[d] = g, ss[c] = r, ss[(c + 1) % 4] = t;
        return;
    }
    default: {
        const Mpz x = ss[a], n = uu[b];
        const char *text = thrown([&] {
            u[d] = modinv(s[a], u[b]);
        });
        Mpz g, r, t;
        expectedEuclid(x, n, g, r, t);
        if (mpz_cmp_ui(g.v, 1) != 0) {
            requireText(text, "BigInteger modinv: x and n have a common factor");
        } else if (n.sign() == 0) {
            requireText(text, signedModZeroText);
        } else {
            requireText(text, nullptr);
            mpz_fdiv_r(uu[d].v, r.v, n.v);
        }
    }
    }
}

void Machine::step()
{
    const unsigned op = in.next() % 32;
    if (op == 0) {
        const unsigned d = in.reg();
        u[d] = readMagnitude();
        uu[d] = toMpz(u[d]);
    } else if (op == 1) {
        // A sign outside the three values, or zero with a non-zero magnitude, is refused and the
        // receiver keeps its value. The block form also gets a zero block on top to drop.
        const unsigned d = in.reg();
        const BigUnsigned mag = readMagnitude();
        const int sign = int(in.next() % 5) - 2;
        const bool fromBlocks = in.next() & 1;
        BigInteger::Blk blocks[5] = {};
        for (unsigned i = 0; i < mag.getLength(); ++i)
            blocks[i] = mag.blockAt(i);
        const char *text = thrown([&] {
            s[d] = fromBlocks ? BigInteger(blocks, mag.getLength() + 1, BigInteger::Sign(sign))
                              : BigInteger(mag, BigInteger::Sign(sign));
        });
        const std::string prefix = fromBlocks
                ? "BigInteger::BigInteger(const Blk *, Index, Sign): "
                : "BigInteger::BigInteger(const BigUnsigned &, Sign): ";
        if (sign < -1 || sign > 1) {
            requireText(text, (prefix + "Invalid sign").c_str());
        } else if (sign == 0 && !mag.isZero()) {
            requireText(text,
                        (prefix + "Cannot use a sign of zero with a nonzero magnitude").c_str());
        } else {
            requireText(text, nullptr);
            ss[d] = toMpz(mag);
            if (sign < 0)
                mpz_neg(ss[d].v, ss[d].v);
        }
    } else if (op < 9) {
        unsignedArithmetic(op - 2);
    } else if (op < 13) {
        unsignedDivision(op - 9);
    } else if (op < 15) {
        unsignedShift();
    } else if (op == 15) {
        unsignedConversion();
    } else if (op < 22) {
        signedArithmetic(op - 16);
    } else if (op < 27) {
        signedDivision(op - 22);
    } else if (op == 27) {
        signedConversion();
    } else if (op == 28) {
        // Between the two kinds: a magnitude and a non-negative signed value.
        const unsigned d = in.reg(), a = in.reg();
        if (in.next() & 1) {
            u[d] = s[a].getMagnitude();
            mpz_abs(uu[d].v, ss[a].v);
        } else {
            s[d] = BigInteger(u[a]);
            ss[d] = uu[a];
        }
    } else {
        numberTheory(in.next() % 5);
    }
    bound();
}

void Machine::bound()
{
    for (int i = 0; i < 4; ++i) {
        if (u[i].getLength() > 40) {
            BigUnsigned::Blk low[8];
            for (unsigned j = 0; j < 8; ++j)
                low[j] = u[i].blockAt(j);
            u[i] = BigUnsigned(low, 8);
            mpz_fdiv_r_2exp(uu[i].v, uu[i].v, 256);
        }
        if (s[i].getMagnitude().getLength() > 40) {
            BigUnsigned::Blk low[8];
            for (unsigned j = 0; j < 8; ++j)
                low[j] = s[i].getMagnitude().blockAt(j);
            s[i] = BigInteger(low, 8, s[i].getSign());
            const int sign = ss[i].sign();
            mpz_abs(ss[i].v, ss[i].v);
            mpz_fdiv_r_2exp(ss[i].v, ss[i].v, 256);
            if (sign < 0)
                mpz_neg(ss[i].v, ss[i].v);
        }
    }
}

void Machine::check() const
{
    for (int i = 0; i < 4; ++i) {
        require(isNormal(u[i]) && toMpz(u[i]) == uu[i]);
        require(isNormal(s[i].getMagnitude()) && toMpz(s[i]) == ss[i]);
        require(s[i].getSign() == ss[i].sign());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Bytes in(data, size);
    Machine machine(in);
    for (int steps = 0; !in.atEnd() && steps < 200; ++steps) {
        machine.step();
        machine.check();
    }
    return 0;
}
