#ifndef KOISTRINGTEXT_H
#define KOISTRINGTEXT_H

#include "kohasher.h"

#include "core/sort_key.h"

#include <koistring.h>

#include <cstring>

/// A text of 8-bit characters that belongs to somebody else: of a KoIString or KoCaseIString in
/// memory, or of a stored record.
struct KoIText {
    const unsigned char* bytes = nullptr;
    unsigned length = 0; ///< no byte of these is zero
    o_u1b flag = 0;
    bool cut = false; ///< the text goes on, in a way that is not known

    static KoIText Of(const KoIStringText& text)
    {
        return {reinterpret_cast<const unsigned char*>(text.StrGet()), text.Len(), text.Flag(),
                false};
    }
    bool IsRaw() const { return (flag & KoIStringText::kRaw) != 0; }
    bool HasAccents() const { return (flag & KoIStringText::kAccents) != 0; }
};

/// What the library itself may do with a text's parts.
struct KoIStringAccess {
    /// Makes `text` the given bytes, none of them zero; it stays as it was when memory runs out.
    static void Set(KoIStringText& text, const char* bytes, unsigned count, o_u1b flag);
};

/// The weights of a class. Stored keys and hashes are made of them: they never change.
struct KoIWeights {
    o_u1b first[256];  ///< of each byte
    o_u1b second[256]; ///< up to 8 an accent, above the weight of a second letter
    bool ignoresCase;

    static const KoIWeights& Of(bool ignoresCase);
    /// True where accents count: the class looks at them and the text asks for it.
    bool Accents(const KoIText& text) const { return ignoresCase && text.HasAccents(); }
};

/// How two texts compare.
struct KoIOrder {
    int order = 0;     ///< the difference of the first weights that differ
    bool open = false; ///< what was cut off decides, and `order` is 0
};

/// Order by weights of at most `limit` bytes of each text; 0 is no limit. Accents count where the
/// flag of either text says so.
KoIOrder KoCompareWeights(const KoIText& a, const KoIText& b, const KoIWeights& weights,
                          unsigned limit = 0);

/// The weights of a text in turn: at most two for each of its bytes; how many.
unsigned KoPutWeights(unsigned char* out, unsigned room, const KoIText& text,
                      const KoIWeights& weights);
unsigned KoCountWeights(const KoIText& text, const KoIWeights& weights);
/// Their weights as the bytes of a sort key, and the zero that ends them.
void KoPutWeightsKey(ko::KeySink& sink, const KoIText& text, const KoIWeights& weights);

/// The weights of a text under its own flag and a zero, as bytes that fill words of eight.
void KoHashWeights(KoHasher& hasher, const KoIText& text, const KoIWeights& weights);

#endif
