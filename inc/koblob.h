#ifndef KOBLOB_H
#define KOBLOB_H

#include "kobasic.h"
#include "kosortkey.h"
#include "kotypcmp.h"

namespace ko
{
struct BlobLoader;
}

/// The record behind a blob.
struct KoBlobData {
    unsigned char* data; ///< null when there are no bytes
    o_4b length;
    o_4b room; ///< bytes that a run of Append has got for itself; 0 after any other edit
};

/// A run of bytes, of the persistent type KoBLOB_T; null is another value than empty.
///
/// Positions and lengths are bytes, up to 2^31 - 1. A negative size counts as 0, and so does any
/// size with a null pointer to the bytes. An operand may be the blob itself or stand in its bytes.
///
/// A blob owns its record and its bytes alone; a copy copies the bytes. Where bytes are replaced
/// (assignment, SetTo, loading) the buffer is kept when the length so far is that of the new bytes
/// or up to 128 more, and is otherwise allocated anew in exactly the new size. It is the length
/// that counts, not what was once allocated: a buffer that shrinks by 128 bytes at a time is kept.
///
/// When memory runs out and the memory handler returns, an edit leaves the blob as it was and a
/// constructor leaves it null. Loading ends with 0 then, as for a damaged record: the elements
/// before have their new values, the others the ones that they had.
class KOTMS_API KoBlob
{
public:
    // Enumerators, since a program cannot take the address of what a module of Windows keeps
    // inline.
    enum : int {
        kNotFound = 65535, ///< answer of Search
        kReuse = 128,      ///< bytes that a buffer may be too long by
    };

    KoBlob();                           ///< empty
    KoBlob(int size);                   ///< bytes of no certain value
    KoBlob(const void* data, int size); ///< a copy of the bytes
    KoBlob(const KoBlob& other);
    KoBlob(KoBlob&& other) noexcept : m_data(other.m_data) { other.m_data = nullptr; }
    ~KoBlob() { Free(); }

    KoBlob& operator=(const KoBlob& other);
    KoBlob& operator=(KoBlob&& other) noexcept; ///< `other` is null afterwards, unless it is this

    int Length() const { return m_data == nullptr ? 0 : m_data->length; } ///< 0 for null
    bool IsNullValue() const { return m_data == nullptr; }
    int SetNullValue(); ///< frees everything; returns 0

    KO_SORT_KEY_MEMBERS();

    /// Becomes a copy of the bytes.
    void SetTo(const void* data, int size);
    /// Cuts the end off and keeps the buffer, or moves to a new one of exactly `size` bytes and
    /// leaves what is added with no certain value. 0 frees the buffer. A null blob becomes `size`
    /// bytes of no certain value. From 2^31 on a size is negative.
    void Resize(unsigned size);
    /// The same, with a buffer of exactly `size` bytes in any case.
    void Expand(int size);
    /// Adds the bytes at the end; a null blob becomes a copy of them. Nothing for a `size` below 1.
    /// The first Append takes a buffer of exactly the new length. Those that follow it without
    /// another edit between them get half as much again when the buffer is full, so that n of them
    /// cost O(log n) allocations and each byte is copied less than three times on average: 100,000
    /// times 16 bytes are 27 allocations of 6.4 MiB altogether. Without memory for that much more
    /// the exact size is tried before the memory handler is called. A blob that would grow beyond
    /// 2^31
    /// - 1 bytes raises an assertion and stays as it is.
    void Append(const void* data, int size);
    void Append(const KoBlob& other); ///< nothing for a null or empty one
    KoBlob& operator+=(const KoBlob& other);

    /// Byte `pos`, which `len` bytes start at; null when they do not all lie inside, when `len` is
    /// 0 and for a null blob. A negative `len` asks for the place alone. Valid until the next edit.
    unsigned char* Seek(int pos, int len) const;
    /// Overwrites from `pos` on with the first bytes of `source`: `len`, or as many as there are up
    /// to the end of this blob, which never grows. Bytes that `source` lacks are not overwritten.
    void CopyTo(const KoBlob& source, int pos, int len);
    /// The bytes from `pos` on: `len`, or as many as there are. Empty when there are none, or when
    /// `pos` or `len` is negative; null for a null blob.
    KoBlob CopyFrom(int pos, int len) const;
    /// Removes the bytes from `pos` on: `len`, or as many as there are. The buffer stays; without
    /// any bytes left the blob is empty, not null, and has none.
    void Cut(int pos, int len);
    /// The first place of the bytes of `pattern`; kNotFound when there is none and for a null blob
    /// or pattern. A pattern at byte 65535 gives that number too. An empty pattern is found at 0.
    int Search(const KoBlob& pattern) const;
    /// Takes the bytes of `other` over, which is empty afterwards; null when it was null. Nothing
    /// when it is this blob.
    void Destroy(KoBlob& other);

    bool operator==(const KoBlob& other) const;
    /// The order, and so no truth value: -2 when this blob alone is null, 2 when the other one is,
    /// else what memcmp says of the common bytes, else -1 or 1 by length; 0 when equal, two nulls
    /// too.
    int operator!=(const KoBlob& other) const;

private:
    friend struct KoBlobAccess;
    friend struct ko::BlobLoader;

    KoBlob(char* text); ///< with the terminating zero as its last byte
    /// A length in the machine's order and that many bytes; a negative one gives null.
    KoBlob& operator=(char* counted);
    // The bytes as a decimal text; what does not belong to the number ends it, no number is 0.
    operator short() const;
    operator int() const;
    operator double() const;

    /// A record of `size` bytes of no certain value, with room for one more.
    static KoBlobData* AllocData(int size);
    static KoBlobData* NewRecord(int size, int room);
    void Free();
    bool Become(const void* data, int size);
    bool Move(int size, int kept);

    KoBlobData* m_data = nullptr;
};

static_assert(sizeof(KoBlob) == 8);

#if !defined(KO_NO_GLOBAL_NAMES)
/// Compares stored or in-memory blobs (see KoTypeCmpFunc): null first, with -2 or 2, then by bytes,
/// a shorter blob before one that goes on. No option of `cmpOp` changes it.
///
/// A length bounds the bytes of a stored operand, its total included; in memory it bounds the
/// objects, of which those that are wholly inside are looked at. Bytes that both sides hold,
/// and lengths that are known, decide; where a side was cut before that, the result is 0 and
/// `status` KoRC_TRUNCATED. As for every type the step to the next element is tried after the one
/// that decides, too: with a bound that ends there `status` is KoRC_TRUNCATED, and the result
/// holds. A stored length that is negative or goes beyond the total gives -1 and
/// KoRC_NOT_SUPPORTED.
KOTMS_API KoTypeCmp BlobCompare;
#endif

#endif
