#ifndef ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H
#define ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H

#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"

#include <QRandomGenerator>
#include <QVector>
#include <QtGlobal>

// Blocks, least significant first, as table columns: QVector<quint32>.
typedef QVector<quint32> Blocks;

// Every block up to the length, zero blocks on top of a non-normal value included.
inline Blocks blocksOf(const BigUnsigned &x)
{
    Blocks blocks;
    for (BigUnsigned::Index i = 0; i < x.getLength(); i++)
        blocks.append(x.blockAt(i));
    return blocks;
}

inline BigUnsigned fromBlocks(const Blocks &blocks)
{
    return BigUnsigned(blocks.constData(), BigUnsigned::Index(blocks.size()));
}

// Built with setBlock, never through the unsigned long constructor, which keeps the low half only.
inline BigUnsigned fromU64(quint64 value)
{
    BigUnsigned x;
    x.setBlock(1, quint32(value >> 32));
    x.setBlock(0, quint32(value));
    return x;
}

inline quint64 toU64(const BigUnsigned &x)
{
    return quint64(x.blockAt(1)) << 32 | x.blockAt(0);
}

inline BigInteger fromI64(qint64 value)
{
    quint64 magnitude = value < 0 ? 0 - quint64(value) : quint64(value);
    return BigInteger(fromU64(magnitude), value < 0 ? BigInteger::negative : BigInteger::positive);
}

inline bool isNormal(const BigUnsigned &x)
{
    return x.getLength() == 0 || x.blockAt(x.getLength() - 1) != 0;
}

// The seed of a randomized test: ORVEX_TEST_SEED when set, else `fallback`; printed either way.
inline quint32 testSeed(quint32 fallback)
{
    bool ok = false;
    const quint32 chosen = qEnvironmentVariable("ORVEX_TEST_SEED").toUInt(&ok);
    qInfo("seed %u (set ORVEX_TEST_SEED to repeat or change it)", ok ? chosen : fallback);
    return ok ? chosen : fallback;
}

// Random blocks that favour the values exercising carries, borrows and quotient corrections.
class RandomBlocks
{
public:
    explicit RandomBlocks(quint32 seed) : random(seed) {}

    quint32 block()
    {
        static const quint32 special[] = {0, 0xFFFFFFFFu, 1, 0x80000000u};
        const quint32 pick = random.bounded(8u);
        return pick < 4 ? special[pick] : random.generate();
    }

    BigUnsigned value(quint32 count)
    {
        Blocks blocks;
        for (quint32 i = 0; i < count; i++)
            blocks.append(block());
        return fromBlocks(blocks);
    }

    bool chance(quint32 outOf) { return random.bounded(outOf) == 0; }
    quint32 below(quint32 bound) { return random.bounded(bound); }

private:
    QRandomGenerator random;
};

#endif // ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H
