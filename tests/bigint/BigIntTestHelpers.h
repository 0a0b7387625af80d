#ifndef ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H
#define ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H

#include "bigint/BigInteger.h"
#include "bigint/BigUnsigned.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QMetaType>
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

// Failures print the blocks, least significant first, so that zero blocks on top show: "{0x5, 0x0}";
// a signed value's sign comes first: "-{0x5}".
inline QByteArray blocksText(const Blocks &blocks)
{
    QByteArray text = "{";
    for (int i = 0; i < blocks.size(); i++)
        text += (i ? ", 0x" : "0x") + QByteArray::number(blocks[i], 16);
    return text + "}";
}

inline char *toString(const Blocks &blocks)
{
    return qstrdup(blocksText(blocks));
}

inline char *toString(const BigUnsigned &x)
{
    return qstrdup(blocksText(blocksOf(x)));
}

inline char *toString(const BigInteger &x)
{
    const int sign = x.getSign();
    return qstrdup((sign < -1 || sign > 1 ? '?' : "-0+"[sign + 1])
                   + blocksText(blocksOf(x.getMagnitude())));
}

inline bool isNormal(const BigUnsigned &x)
{
    return x.getLength() == 0 || x.blockAt(x.getLength() - 1) != 0;
}

// What the six conversions to primitives give, each the number or a code for the text thrown:
// "<" and "(" the magnitude's to<Primitive> and to(Primitive) texts, "!" the signed value's
// too-big text, "-" its negative-to-unsigned text.
template <class X>
QByteArray conversionsOf(const X &x)
{
    QByteArrayList all;
    const QByteArrayList texts = {
            "BigUnsigned::to<Primitive>: Value is too big to fit in the requested type",
            "BigUnsigned::to(Primitive): Value is too big to fit in the requested type",
            "BigInteger::to<Primitive>: Value is too big to fit in the requested type",
            "BigInteger::to<Primitive>: Cannot convert a negative integer to an unsigned type"};
    for (int i = 0; i < 6; i++) {
        try {
            all << QByteArray::number(i == 0           ? qlonglong(x.toUnsignedLong())
                                              : i == 1 ? x.toUnsignedInt()
                                              : i == 2 ? x.toUnsignedShort()
                                              : i == 3 ? qlonglong(x.toLong())
                                              : i == 4 ? x.toInt()
                                                       : x.toShort());
        } catch (const char *text) {
            const int code = texts.indexOf(text);
            all << (code < 0 ? QByteArray(text) : QByteArray(1, "<(!-"[code]));
        }
    }
    return all.join(' ');
}

// The seed of a randomized test: ORVEX_TEST_SEED when set, else `fallback`; printed either way.
inline quint32 testSeed(quint32 fallback)
{
    bool ok = false;
    const quint32 chosen = qEnvironmentVariable("ORVEX_TEST_SEED").toUInt(&ok);
    qInfo("seed %u (set ORVEX_TEST_SEED to repeat or change it)", ok ? chosen : fallback);
    return ok ? chosen : fallback;
}

Q_DECLARE_METATYPE(BigUnsigned)
Q_DECLARE_METATYPE(BigInteger)

#endif // ORVEX_TESTS_BIGINT_BIGINTTESTHELPERS_H
