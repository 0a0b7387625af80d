#ifndef ORVEX_BIGINT_BLOCKARRAY_H
#define ORVEX_BIGINT_BLOCKARRAY_H

/// \addtogroup bigint
/// @{

/// The storage of the integer types: a little-endian array of blocks (or digits) with the number
/// allocated (`capacity`) and the number in use (`length`).
///
/// It owns its array, made with array-new, and does no arithmetic. Storage grows to exactly the
/// size asked and never shrinks; there are no move operations, so every copy goes through the copy
/// rules below. A plain value type: one object is used from one thread at a time.
template <class T>
class BlockArray
{
public:
    /// A block index, and a count of blocks.
    typedef unsigned int Index;

    /// Empty, with no array.
    BlockArray() : capacity(0), length(0), blocks(nullptr) {}
    /// The copy's capacity is the source's length.
    BlockArray(const BlockArray &x);
    /// Copies `count` blocks, then drops zero blocks from the top.
    BlockArray(const T *source, Index count);
    ~BlockArray() { delete[] blocks; }
    /// Keeps the receiver's array when it is large enough.
    BlockArray &operator=(const BlockArray &x);

    /// The number of blocks allocated.
    Index getCapacity() const { return capacity; }
    /// The number of blocks in use.
    Index getLength() const { return length; }
    /// 0 past the length.
    T blockAt(Index i) const { return i < length ? blocks[i] : T(0); }

protected:
    /// Makes room for n blocks; the old contents are lost when the array is replaced.
    void reserve(Index n);
    /// Makes room for n blocks, keeping the first `length` of them.
    void reserveAndKeep(Index n);
    /// Drops zero blocks from the top, down to length 0 for zero.
    void trimLeadingZeros();

    /// The number of blocks allocated.
    Index capacity;
    /// The number of blocks in use, at most `capacity`.
    Index length;
    /// Null while capacity is 0.
    T *blocks;
};

/// @}

template <class T>
BlockArray<T>::BlockArray(const BlockArray &x)
    : capacity(x.length), length(x.length), blocks(capacity ? new T[capacity] : nullptr)
{
    for (Index i = 0; i < length; i++)
        blocks[i] = x.blocks[i];
}

template <class T>
BlockArray<T>::BlockArray(const T *source, Index count)
    : capacity(count), length(count), blocks(capacity ? new T[capacity] : nullptr)
{
    for (Index i = 0; i < length; i++)
        blocks[i] = source[i];
    trimLeadingZeros();
}

template <class T>
BlockArray<T> &BlockArray<T>::operator=(const BlockArray &x)
{
    if (this == &x)
        return *this;
    reserve(x.length);
    length = x.length;
    for (Index i = 0; i < length; i++)
        blocks[i] = x.blocks[i];
    return *this;
}

template <class T>
void BlockArray<T>::reserve(Index n)
{
    if (n <= capacity)
        return;
    T *grown = new T[n];
    delete[] blocks;
    blocks = grown;
    capacity = n;
}

template <class T>
void BlockArray<T>::reserveAndKeep(Index n)
{
    if (n <= capacity)
        return;
    T *grown = new T[n];
    for (Index i = 0; i < length; i++)
        grown[i] = blocks[i];
    delete[] blocks;
    blocks = grown;
    capacity = n;
}

template <class T>
void BlockArray<T>::trimLeadingZeros()
{
    while (length > 0 && blocks[length - 1] == 0)
        length--;
}

#endif // ORVEX_BIGINT_BLOCKARRAY_H
