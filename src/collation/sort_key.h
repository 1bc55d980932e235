#ifndef KO_COLLATION_SORT_KEY_H
#define KO_COLLATION_SORT_KEY_H

#include "collation/sort_key_ways.h"
#include "collation/text.h"

namespace ko
{

/// Sort keys of texts: bytes whose order is the order of the texts (doc/formats.md, "Sort keys of
/// strings").
///
/// For texts a and b of one kind, which is with a code set or without, and an operator word:
/// - the sign of memcmp of their keys, a shorter key that begins the longer one first, is the sign
///   of CompareText, and the keys are equal exactly where that gives 0;
/// - no key begins another one, so keys may stand one after another without separators.
///
/// Words have keys where they switch wildcards off (KoCMP_PLAIN or KoCMP_NO_WILDCARDS, which are
/// alike here); KoCMP_DEFAULT stands for the default word of the process.
/// The word, KoCMP_DEFAULT included, gives an order, so that texts have keys under it.
bool HasSortKeys(o_u2b cmpOp);

/// The key holds all that the comparison under the word looks at, so that texts can be read back.
bool HasWholeSortKeys(o_u2b cmpOp);

/// The best way of this processor.
SortKeyWay BestSortKeyWay();

/// Writes the first `room` bytes of the key of a text and returns the length of the whole key, 0
/// where the word gives no order. What `room` has after the key may be overwritten, too; `key` may
/// be null where `room` is 0. Takes no memory from the heap. The text has at most 65,535 bytes, and
/// `cut` is not looked at: the key is that of the characters that are there.
unsigned WriteSortKey(const KoText& text, o_u2b cmpOp, void* key, unsigned room,
                      TextMemory memory = TextMemory::kExact);

/// The length alone.
inline unsigned SortKeyLength(const KoText& text, o_u2b cmpOp,
                              TextMemory memory = TextMemory::kExact)
{
    return WriteSortKey(text, cmpOp, nullptr, 0, memory);
}

/// The same by a way that is no better than the best one; for tests.
unsigned WriteSortKeyBy(SortKeyWay way, const KoText& text, o_u2b cmpOp, void* key, unsigned room,
                        TextMemory memory = TextMemory::kExact);

/// The bytes of the key that stands at the beginning of `length` bytes; 0 where none stands there,
/// or the word has none. No byte beyond `length` is read. It goes by the form of keys: whether some
/// text has the orders in the key only SortKeyReader tells.
unsigned SortKeyExtent(const void* bytes, unsigned length, o_u2b cmpOp);

/// Reads the key that stands at the beginning of some bytes back. The bytes must stay while it is
/// used.
class SortKeyReader
{
public:
    /// 0; KoRC_NOT_SUPPORTED where the word has no keys or ignores something; -1 where no key that
    /// WriteSortKey writes stands there. No byte beyond `length` is read. The functions below may
    /// be called after 0 alone.
    int Read(const void* bytes, unsigned length, o_u2b cmpOp);

    /// The bytes that the key takes.
    unsigned Taken() const { return m_taken; }
    bool IsNull() const { return m_null; }
    /// KoCS_NONE for plain bytes. Otherwise KoCS_UNICODE, or, where that cannot hold the text, the
    /// first 8-bit code set that can: one with more than 32,765 characters, or with positions that
    /// its code set leaves undefined.
    unsigned char CodeSet() const { return m_codeSet; }
    /// KoLANG_CHINESE where the text has the ideographic variant, else KoLANG_NONE.
    unsigned char Language() const { return m_language; }
    unsigned Units() const { return m_units; }
    /// Writes the characters in the machine's byte order: Units() times the width of the code set.
    void CopyTo(char* characters) const;

private:
    int ReadBytes();
    int ReadText();
    bool FitsCodeSet(unsigned char codeSet) const;

    const unsigned char* m_key = nullptr;
    unsigned m_length = 0;
    unsigned m_taken = 0;
    unsigned m_units = 0;
    bool m_null = false;
    unsigned char m_codeSet = KoCS_NONE;
    unsigned char m_language = KoLANG_NONE;
};

/// Makes `value` the text of the key at the beginning of some bytes. 0 with the bytes that the key
/// takes; otherwise as SortKeyReader::Read, or -1 after the memory handler, and `value` and `taken`
/// stay as they were.
int ReadSortKey(KoString& value, const void* bytes, unsigned length, o_u2b cmpOp, unsigned& taken);

} // namespace ko

#endif
