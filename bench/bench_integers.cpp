// The integer library against GMP (mpz) and Boost.Multiprecision's cpp_int on the same operands:
// multiply, divide 2n by n bits, modexp with an n-bit odd modulus and exponent, gcd, and decimal
// text both ways; the multiplication and squaring kernels on limbs against GMP's mpn. With
// ORVEX_BENCH_REFERENCE=1 the library runs its reference algorithms only.
// ORVEX_BENCH_CALIBRATE=1 runs the calibrations instead (a filter picks among them), which set
// the thresholds of the multiplication, the text conversions and gcd.
#include "RatioReporter.h"
#include "common/GmpValue.h"

#include <bigint/BigInt.h>
#include <bigint/BigUnsignedInABase_p.h>
#include <bigint/FastPaths_p.h>
#include <bigint/NumberTheory_p.h>

#include <boost/multiprecision/cpp_int.hpp>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using BoostInt = boost::multiprecision::cpp_int;
typedef std::vector<unsigned> Blocks;
using Limb = LimbOps::Limb;
typedef std::vector<Limb> Limbs;

// Set from ORVEX_BENCH_REFERENCE: the library's cases call the reference routines.
bool reference = false;

// Random n-bit values with the top bit set (odd on request), the same for every library.
Blocks randomBlocks(unsigned bits, unsigned seed, bool odd = false)
{
    std::mt19937 random(seed);
    Blocks blocks((bits + 31) / 32);
    for (unsigned &block : blocks)
        block = unsigned(random());
    const unsigned topBits = bits - 32 * unsigned(blocks.size() - 1);
    if (topBits < 32)
        blocks.back() &= (1u << topBits) - 1;
    blocks.back() |= 1u << (topBits - 1);
    if (odd)
        blocks.front() |= 1;
    return blocks;
}

BigUnsigned toOrvex(const Blocks &b)
{
    return BigUnsigned(b.data(), BigUnsigned::Index(b.size()));
}

BoostInt toBoost(const Blocks &b)
{
    BoostInt x;
    import_bits(x, b.begin(), b.end(), 32, false);
    return x;
}

mpz_class toGmp(const Blocks &b)
{
    return toGmp(toOrvex(b));
}

// multiply: two n-bit values.
void multiplyOrvex(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BigUnsigned a = toOrvex(randomBlocks(n, 1)), b = toOrvex(randomBlocks(n, 2));
    BigUnsigned r;
    for (auto _ : state) {
        if (reference)
            BigIntPaths::multiplyReference(r, a, b);
        else
            r.multiply(a, b);
        benchmark::DoNotOptimize(r);
    }
}

void multiplyGmp(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    mpz_class a = toGmp(randomBlocks(n, 1)), b = toGmp(randomBlocks(n, 2)), r;
    for (auto _ : state) {
        mpz_mul(r.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
        benchmark::DoNotOptimize(r.get_mpz_t());
    }
}

void multiplyBoost(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BoostInt a = toBoost(randomBlocks(n, 1)), b = toBoost(randomBlocks(n, 2));
    BoostInt r;
    for (auto _ : state) {
        r = a * b;
        benchmark::DoNotOptimize(r);
    }
}

// mulwords, sqrwords: the kernels on n-bit limb arrays, without conversion or allocation.
Limbs randomLimbs(unsigned bits, unsigned seed)
{
    const Blocks blocks = randomBlocks(bits, seed);
    Limbs limbs(LimbOps::limbsFor(BigUnsigned::Index(blocks.size())));
    LimbOps::blocksToLimbs(limbs.data(), blocks.data(), BigUnsigned::Index(blocks.size()));
    return limbs;
}

void multiplyWordsOrvex(benchmark::State &state)
{
    const Limbs a = randomLimbs(unsigned(state.range(0)), 1),
                b = randomLimbs(unsigned(state.range(0)), 2);
    const BigUnsigned::Index n = BigUnsigned::Index(a.size());
    Limbs r(2 * n);
    for (auto _ : state) {
        BigIntPaths::multiplyLimbs(r.data(), a.data(), n, b.data(), n);
        benchmark::DoNotOptimize(r.data());
    }
}

void multiplyWordsGmp(benchmark::State &state)
{
    const Limbs a = randomLimbs(unsigned(state.range(0)), 1),
                b = randomLimbs(unsigned(state.range(0)), 2);
    const mp_size_t n = mp_size_t(a.size());
    std::vector<mp_limb_t> x(a.begin(), a.end()), y(b.begin(), b.end()), r(2 * n);
    for (auto _ : state) {
        mpn_mul_n(r.data(), x.data(), y.data(), n);
        benchmark::DoNotOptimize(r.data());
    }
}

void squareWordsOrvex(benchmark::State &state)
{
    const Limbs a = randomLimbs(unsigned(state.range(0)), 1);
    const BigUnsigned::Index n = BigUnsigned::Index(a.size());
    Limbs r(2 * n);
    for (auto _ : state) {
        BigIntPaths::squareLimbs(r.data(), a.data(), n);
        benchmark::DoNotOptimize(r.data());
    }
}

void squareWordsGmp(benchmark::State &state)
{
    const Limbs a = randomLimbs(unsigned(state.range(0)), 1);
    const mp_size_t n = mp_size_t(a.size());
    std::vector<mp_limb_t> x(a.begin(), a.end()), r(2 * n);
    for (auto _ : state) {
        mpn_sqr(r.data(), x.data(), n);
        benchmark::DoNotOptimize(r.data());
    }
}

// calibrate: products ("multiply") and squares ("square") of n limbs by rows of limb products
// ("rows") against one step of Karatsuba's method whose halves go by rows ("karatsuba"), and by
// the library's Karatsuba recursion alone ("no-toom") against one step of Toom's three-way split
// whose parts go by that recursion ("toom"), and by the library's splits alone ("no-transform")
// against number-theoretic transforms ("transform"): where the step is faster, the threshold lies
// below n.
enum class Method { rows, karatsuba, noToom, toom, noTransform, transform };

void calibrate(benchmark::State &state, bool square, Method method)
{
    const BigUnsigned::Index n = BigUnsigned::Index(state.range(0)), never = ~n | n;
    BigIntPaths::MultiplyThresholds thresholds = BigIntPaths::multiplyThresholds;
    thresholds.transform = thresholds.transformSquare = method == Method::transform ? n : never;
    if (method == Method::rows || method == Method::karatsuba)
        thresholds.karatsuba = thresholds.karatsubaSquare = method == Method::rows ? never : n;
    if (method == Method::rows || method == Method::karatsuba || method == Method::noToom)
        thresholds.toom = thresholds.toomSquare = never;
    else if (method == Method::toom)
        thresholds.toom = thresholds.toomSquare = n;
    const Limbs a = randomLimbs(n * LimbOps::bitsPerLimb, 1);
    const Limbs b = randomLimbs(n * LimbOps::bitsPerLimb, 2);
    Limbs r(2 * n);
    for (auto _ : state) {
        if (square)
            BigIntPaths::squareLimbs(r.data(), a.data(), n, thresholds);
        else
            BigIntPaths::multiplyLimbs(r.data(), a.data(), n, b.data(), n, thresholds);
        benchmark::DoNotOptimize(r.data());
    }
}

void registerCalibration()
{
    const std::pair<Method, const char *> methods[] = {{Method::rows, "rows"},
                                                       {Method::karatsuba, "karatsuba"},
                                                       {Method::noToom, "no-toom"},
                                                       {Method::toom, "toom"},
                                                       {Method::noTransform, "no-transform"},
                                                       {Method::transform, "transform"}};
    for (const bool square : {false, true}) {
        const std::string name = square ? "calibrate-square/" : "calibrate-multiply/";
        for (const auto &[method, methodName] : methods) {
            benchmark::internal::Benchmark *b = benchmark::RegisterBenchmark(
                    (name + methodName).c_str(), calibrate, square, method);
            if (method == Method::rows || method == Method::karatsuba)
                b->DenseRange(16, 112, 8);
            else if (method == Method::noToom || method == Method::toom)
                b->Arg(96)->Arg(128)->Arg(160)->Arg(192)->Arg(256)->Arg(320)->Arg(384)->Arg(512);
            else
                b->RangeMultiplier(2)->Range(512, 8192)->Arg(1536)->Arg(2560)->Arg(3072);
        }
    }
}

// divide: a 2n-bit dividend by an n-bit divisor, quotient and remainder.
void divideOrvex(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BigUnsigned a = toOrvex(randomBlocks(2 * n, 3)), b = toOrvex(randomBlocks(n, 4));
    BigUnsigned r, q;
    for (auto _ : state) {
        r = a; // the division works in place on the dividend
        if (reference)
            BigIntPaths::divideReference(r, b, q);
        else
            r.divideWithRemainder(b, q);
        benchmark::DoNotOptimize(r);
        benchmark::DoNotOptimize(q);
    }
}

void divideGmp(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    mpz_class a = toGmp(randomBlocks(2 * n, 3)), b = toGmp(randomBlocks(n, 4)), q, r;
    for (auto _ : state) {
        mpz_tdiv_qr(q.get_mpz_t(), r.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
        benchmark::DoNotOptimize(q.get_mpz_t());
    }
}

void divideBoost(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BoostInt a = toBoost(randomBlocks(2 * n, 3)), b = toBoost(randomBlocks(n, 4));
    BoostInt q, r;
    for (auto _ : state) {
        divide_qr(a, b, q, r);
        benchmark::DoNotOptimize(q);
    }
}

// modexp: base, exponent and odd modulus of n bits each.
void modexpOrvex(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BigInteger base(toOrvex(randomBlocks(n, 5)));
    const BigUnsigned exponent = toOrvex(randomBlocks(n, 6));
    const BigUnsigned modulus = toOrvex(randomBlocks(n, 7, true));
    for (auto _ : state) {
        benchmark::DoNotOptimize(reference ? BigIntPaths::modexpReference(base, exponent, modulus)
                                           : modexp(base, exponent, modulus));
    }
}

void modexpGmp(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    mpz_class base = toGmp(randomBlocks(n, 5)), exponent = toGmp(randomBlocks(n, 6)),
              modulus = toGmp(randomBlocks(n, 7, true));
    mpz_class r;
    for (auto _ : state) {
        mpz_powm(r.get_mpz_t(), base.get_mpz_t(), exponent.get_mpz_t(), modulus.get_mpz_t());
        benchmark::DoNotOptimize(r.get_mpz_t());
    }
}

void modexpBoost(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BoostInt base = toBoost(randomBlocks(n, 5)), exponent = toBoost(randomBlocks(n, 6));
    const BoostInt modulus = toBoost(randomBlocks(n, 7, true));
    for (auto _ : state) {
        BoostInt r = powm(base, exponent, modulus);
        benchmark::DoNotOptimize(r);
    }
}

// gcd: two n-bit values.
void gcdOrvex(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BigUnsigned a = toOrvex(randomBlocks(n, 8)), b = toOrvex(randomBlocks(n, 9));
    for (auto _ : state)
        benchmark::DoNotOptimize(reference ? GcdPaths::gcdByRemainders(a, b) : gcd(a, b));
}

void gcdGmp(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    mpz_class a = toGmp(randomBlocks(n, 8)), b = toGmp(randomBlocks(n, 9)), r;
    for (auto _ : state) {
        mpz_gcd(r.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
        benchmark::DoNotOptimize(r.get_mpz_t());
    }
}

void gcdBoost(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BoostInt a = toBoost(randomBlocks(n, 8)), b = toBoost(randomBlocks(n, 9));
    for (auto _ : state) {
        BoostInt r = gcd(a, b);
        benchmark::DoNotOptimize(r);
    }
}

// The reference conversions, one digit per division and one Horner step per digit, to text
// and back as the public functions do it.
std::string referenceToText(const BigUnsigned &x)
{
    std::vector<BigUnsignedInABase::Digit> digits(x.getLength() * 10 + 1);
    const BigUnsigned::Index count = BaseConversion::digitsByDivision(x, 10, digits.data());
    return std::string(BigUnsignedInABase(digits.data(), count, 10));
}

BigUnsigned referenceFromText(const std::string &text)
{
    const BigUnsignedInABase parsed(text, 10);
    std::vector<BigUnsignedInABase::Digit> digits(parsed.getLength());
    for (BigUnsignedInABase::Index i = 0; i < parsed.getLength(); i++)
        digits[i] = parsed.blockAt(i);
    return BaseConversion::valueByHorner(digits.data(), parsed.getLength(), 10);
}

// totext: an n-bit value to decimal text.
void toTextOrvex(benchmark::State &state)
{
    const BigUnsigned x = toOrvex(randomBlocks(unsigned(state.range(0)), 10));
    for (auto _ : state)
        benchmark::DoNotOptimize(reference ? referenceToText(x) : bigUnsignedToString(x));
}

void toTextGmp(benchmark::State &state)
{
    mpz_class x = toGmp(randomBlocks(unsigned(state.range(0)), 10));
    std::vector<char> text(mpz_sizeinbase(x.get_mpz_t(), 10) + 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(mpz_get_str(text.data(), 10, x.get_mpz_t()));
}

void toTextBoost(benchmark::State &state)
{
    const BoostInt x = toBoost(randomBlocks(unsigned(state.range(0)), 10));
    for (auto _ : state)
        benchmark::DoNotOptimize(x.str());
}

// fromtext: decimal text of an n-bit value to a number.
std::string decimalText(unsigned bits)
{
    return bigUnsignedToString(toOrvex(randomBlocks(bits, 11)));
}

void fromTextOrvex(benchmark::State &state)
{
    const std::string text = decimalText(unsigned(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(reference ? referenceFromText(text) : stringToBigUnsigned(text));
}

void fromTextGmp(benchmark::State &state)
{
    const std::string text = decimalText(unsigned(state.range(0)));
    mpz_class x;
    for (auto _ : state) {
        mpz_set_str(x.get_mpz_t(), text.c_str(), 10);
        benchmark::DoNotOptimize(x.get_mpz_t());
    }
}

void fromTextBoost(benchmark::State &state)
{
    const std::string text = decimalText(unsigned(state.range(0)));
    for (auto _ : state) {
        BoostInt x(text);
        benchmark::DoNotOptimize(x);
    }
}

// Calibration of the text and gcd thresholds (calibrate-totext and so on): the fast routines
// at sizes (bits) around each threshold, with the threshold (blocks or chunks) set to each value.
void calibrateToText(benchmark::State &state)
{
    const BigUnsigned x = toOrvex(randomBlocks(unsigned(state.range(0)), 10));
    std::vector<BigUnsignedInABase::Digit> digits(x.getLength() * 10 + 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(BaseConversion::digitsFast(x, 10, digits.data(),
                                                            BigUnsigned::Index(state.range(1))));
}

void calibrateFromText(benchmark::State &state)
{
    const BigUnsignedInABase digits(decimalText(unsigned(state.range(0))), 10);
    std::vector<BigUnsignedInABase::Digit> d;
    for (BigUnsignedInABase::Index i = 0; i < digits.getLength(); i++)
        d.push_back(digits.blockAt(i));
    for (auto _ : state)
        benchmark::DoNotOptimize(BaseConversion::valueFast(d.data(), BigUnsigned::Index(d.size()),
                                                           10, BigUnsigned::Index(state.range(1))));
}

// calibrate-divide: 2n limbs by n limbs, recursive from the given divisor length (limbs) on.
void calibrateDivide(benchmark::State &state)
{
    const BigUnsigned::Index n = BigUnsigned::Index(state.range(0));
    const Limbs u = randomLimbs(2 * n * LimbOps::bitsPerLimb, 3);
    const Limbs v = randomLimbs(n * LimbOps::bitsPerLimb, 4);
    Limbs work(2 * n + 1), quotient(n + 1), scratch(n);
    for (auto _ : state) {
        std::copy(u.begin(), u.end(), work.begin());
        work[2 * n] = 0;
        BigIntPaths::divideLimbs(quotient.data(), work.data(), 2 * n, v.data(), n, scratch.data(),
                                 BigUnsigned::Index(state.range(1)));
        benchmark::DoNotOptimize(quotient.data());
    }
}

void calibrateGcd(benchmark::State &state)
{
    const unsigned n = unsigned(state.range(0));
    const BigUnsigned a = toOrvex(randomBlocks(n, 8)), b = toOrvex(randomBlocks(n, 9));
    for (auto _ : state)
        benchmark::DoNotOptimize(GcdPaths::gcdLehmer(a, b, BigUnsigned::Index(state.range(1))));
}

void operandSizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(256)->Arg(1024)->Arg(4096)->Arg(16384);
}

void modexpSizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(256)->Arg(1024)->Arg(2048)->Arg(4096)->Unit(benchmark::kMicrosecond);
}

} // namespace

#define ORVEX_INTEGER_CASE(name, function, sizes)                \
  BENCHMARK(function##Orvex)->Name(name "/orvex")->Apply(sizes); \
  BENCHMARK(function##Gmp)->Name(name "/gmp")->Apply(sizes);     \
  BENCHMARK(function##Boost)->Name(name "/boost")->Apply(sizes)

ORVEX_INTEGER_CASE("multiply", multiply, operandSizes);
BENCHMARK(multiplyWordsOrvex)->Name("mulwords/orvex")->Apply(operandSizes);
BENCHMARK(multiplyWordsGmp)->Name("mulwords/gmp")->Apply(operandSizes);
BENCHMARK(squareWordsOrvex)->Name("sqrwords/orvex")->Apply(operandSizes);
BENCHMARK(squareWordsGmp)->Name("sqrwords/gmp")->Apply(operandSizes);
ORVEX_INTEGER_CASE("divide", divide, operandSizes);
ORVEX_INTEGER_CASE("modexp", modexp, modexpSizes);
ORVEX_INTEGER_CASE("gcd", gcd, operandSizes);
ORVEX_INTEGER_CASE("totext", toText, operandSizes);
ORVEX_INTEGER_CASE("fromtext", fromText, operandSizes);
// A million decimal digits; Boost's quadratic conversions would take a minute.
BENCHMARK(toTextOrvex)->Name("totext/orvex")->Arg(3321929)->Unit(benchmark::kMillisecond);
BENCHMARK(toTextGmp)->Name("totext/gmp")->Arg(3321929)->Unit(benchmark::kMillisecond);
BENCHMARK(fromTextOrvex)->Name("fromtext/orvex")->Arg(3321929)->Unit(benchmark::kMillisecond);
BENCHMARK(fromTextGmp)->Name("fromtext/gmp")->Arg(3321929)->Unit(benchmark::kMillisecond);

BENCHMARK(calibrateToText)
        ->Name("calibrate-totext")
        ->ArgsProduct({{4096, 8192, 16384, 65536, 262144}, {64, 96, 128, 192, 256, 1024}});
BENCHMARK(calibrateFromText)
        ->Name("calibrate-fromtext")
        ->ArgsProduct({{16384, 32768, 65536, 262144}, {128, 192, 256, 512, 1024}});
BENCHMARK(calibrateDivide)
        ->Name("calibrate-divide")
        ->ArgsProduct({{32, 48, 64, 96, 128, 256, 1024}, {16, 24, 32, 48, 64, 96, 128, 100000}});
BENCHMARK(calibrateGcd)
        ->Name("calibrate-gcd")
        ->ArgsProduct({{64, 96, 128, 192, 256}, {1, 2, 4, 8, 16}});

int main(int argc, char **argv)
{
    const char *referenceRun = std::getenv("ORVEX_BENCH_REFERENCE");
    reference = referenceRun && std::string(referenceRun) == "1";
    const char *calibration = std::getenv("ORVEX_BENCH_CALIBRATE");
    const bool calibrating = calibration && std::string(calibration) == "1";
    if (calibrating)
        registerCalibration();
    benchmark::Initialize(&argc, argv);
    // The calibrations run only when asked for, and then alone.
    const std::string filter = benchmark::GetBenchmarkFilter();
    if (filter.empty() || filter == ".")
        benchmark::SetBenchmarkFilter(calibrating ? "calibrate" : "-calibrate");
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
