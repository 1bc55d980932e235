#ifndef KO_COLLATION_SORT_KEY_WAYS_H
#define KO_COLLATION_SORT_KEY_WAYS_H

/// In which ways the sort key of a text can be written.

namespace ko
{

/// What may be read after the characters of a text.
enum class TextMemory {
    kExact,  ///< nothing: a stored text
    kPadded, ///< the rest of the last 16 bytes: the buffer of a KoString
};

/// How keys are written. All ways give the same bytes, and take shorter ones where they must.
enum class SortKeyWay {
    kPlain,  ///< character by character: what every machine can
    kBlocks, ///< short ASCII texts sixteen characters at a time
    kAtOnce, ///< short ASCII texts as a whole
};

} // namespace ko

#endif
