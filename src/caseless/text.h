#ifndef KO_CASELESS_TEXT_H
#define KO_CASELESS_TEXT_H

#include "core/hasher.h"
#include "core/sort_key.h"

#include <koistring.h>
#include <kotypevl.h>

#include <cstring>

namespace ko
{

/// A text of 8-bit characters that belongs to somebody else: of a KoIString or KoCaseIString in
/// memory, or of a stored record.
struct CaselessText {
    const unsigned char* bytes = nullptr;
    unsigned length = 0; ///< no byte of these is zero
    o_u1b flag = 0;
    bool cut = false; ///< the text goes on, in a way that is not known

    static CaselessText Of(const KoIStringText& text)
    {
        return {reinterpret_cast<const unsigned char*>(text.StrGet()), text.Len(), text.Flag(),
                false};
    }
    bool IsRaw() const { return (flag & KoIStringText::kRaw) != 0; }
    bool HasAccents() const { return (flag & KoIStringText::kAccents) != 0; }
};

/// What the library itself may do with a text's parts.
struct CaselessAccess {
    /// Makes `text` the given bytes, none of them zero; it stays as it was when memory runs out.
    static void Set(KoIStringText& text, const char* bytes, unsigned count, o_u1b flag);
};

/// The weights of a class. Stored keys and hashes are made of them: they never change.
struct CaselessWeights {
    o_u1b first[256];  ///< of each byte
    o_u1b second[256]; ///< up to 8 an accent, above the weight of a second letter
    bool ignoresCase;

    static const CaselessWeights& Of(bool ignoresCase);
    /// True where accents count: the class looks at them and the text asks for it.
    bool Accents(const CaselessText& text) const { return ignoresCase && text.HasAccents(); }
};

/// How two texts compare.
struct CaselessOrder {
    int order = 0;     ///< the difference of the first weights that differ
    bool open = false; ///< what was cut off decides, and `order` is 0
};

/// Order by weights of at most `limit` bytes of each text; 0 is no limit. Accents count where the
/// flag of either text says so.
CaselessOrder CompareWeights(const CaselessText& a, const CaselessText& b,
                             const CaselessWeights& weights, unsigned limit = 0);

/// The weights of a text in turn: at most two for each of its bytes; how many.
unsigned PutWeights(unsigned char* out, unsigned room, const CaselessText& text,
                    const CaselessWeights& weights);
unsigned CountWeights(const CaselessText& text, const CaselessWeights& weights);
/// Their weights as the bytes of a sort key, and the zero that ends them.
void PutWeightsKey(KeySink& sink, const CaselessText& text, const CaselessWeights& weights);

/// The weights of a text under its own flag and a zero, as bytes that fill words of eight.
void HashWeights(Hasher& hasher, const CaselessText& text, const CaselessWeights& weights);

/// The evaluator of the case-insensitive types; `weights` are those of the class.
float EvaluateCaselessTexts(const KoIdxBounds* bounds, unsigned short op, const void* value,
                            unsigned char format, unsigned count, KoIdxBounds* newBounds,
                            const CaselessWeights& weights);

} // namespace ko

#endif
