#ifndef ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H
#define ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H

#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"

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

#endif // ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H
