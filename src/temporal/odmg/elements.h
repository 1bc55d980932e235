#ifndef KO_TEMPORAL_ODMG_ELEMENTS_H
#define KO_TEMPORAL_ODMG_ELEMENTS_H

#include "temporal/ops.h"

#include <koodmg.h>

/// Order and hash of the standard's dates and times, read where they stand.

namespace ko
{

using OdmgDateElements = PackedElements<TemporalLayout<true, 2>>;

/// Zone hour, zone minute, hour, minute, second, hundredths: every form is the same bytes.
struct OdmgTimeElements {
    using Fields = TemporalLayout<false, 6>;

    /// The fields as one number that orders as they do: the clock first, then the zone.
    static o_u8b Key(const unsigned char* at) noexcept
    {
        const o_u8b clock = ReadOrdered<o_u4b>(at + 2, true);
        return (clock << 16 | ReadOrdered<o_u2b>(at, true)) ^ 0x808080808080;
    }
    static int Order(const unsigned char* a, const unsigned char* b) noexcept
    {
        return ThreeWay(Key(a), Key(b));
    }
    template <bool>
    static int OrderStored(const unsigned char* a, const unsigned char* b, bool) noexcept
    {
        return Order(a, b);
    }
    static void AddHash(Hasher& hasher, const unsigned char* at, bool, bool) noexcept
    {
        const o_u8b zone = ReadOrdered<o_u2b>(at, true);
        hasher.Add(zone << 32 | ReadOrdered<o_u4b>(at + 2, true));
    }

    static constexpr unsigned kKeySize = 6;
    static void PutKey(unsigned char* out, const unsigned char* at, bool, bool) noexcept
    {
        const o_u8b key = Key(at);
        for (unsigned i = 0; i < kKeySize; ++i)
            out[i] = static_cast<unsigned char>(key >> (8 * (kKeySize - 1 - i)));
    }
    static void FromKey(unsigned char* stored, const unsigned char* key) noexcept
    {
        for (unsigned i = 0; i < kKeySize; ++i)
            stored[i] = static_cast<unsigned char>(key[(i + 4) % kKeySize] ^ 0x80);
    }
};

/// A date and then a time.
struct OdmgTimestampElements {
    using Fields = TemporalLayout<true, 8>;

    template <bool>
    static int OrderStored(const unsigned char* a, const unsigned char* b, bool big) noexcept
    {
        const int order = OdmgDateElements::OrderStored<true>(a, b, big);
        return order != 0 ? order : OdmgTimeElements::Order(a + 4, b + 4);
    }
    static void AddHash(Hasher& hasher, const unsigned char* at, bool big, bool memory) noexcept
    {
        OdmgDateElements::AddHash(hasher, at, big, memory);
        OdmgTimeElements::AddHash(hasher, at + 4, big, memory);
    }

    static constexpr unsigned kKeySize = OdmgDateElements::kKeySize + OdmgTimeElements::kKeySize;
    static void PutKey(unsigned char* out, const unsigned char* at, bool big, bool memory) noexcept
    {
        OdmgDateElements::PutKey(out, at, big, memory);
        OdmgTimeElements::PutKey(out + 4, at + 4, big, memory);
    }
    static void FromKey(unsigned char* stored, const unsigned char* key) noexcept
    {
        OdmgDateElements::FromKey(stored, key);
        OdmgTimeElements::FromKey(stored + 4, key + 4);
    }
};

/// A reading of the clock, in the default zone. Its fraction counts as whole seconds: the sum is
/// not scaled, and stored stamps rely on it.
inline d_Date StampDate(const KoTimeStampRec& clock)
{
    return {static_cast<o_2b>(clock.year), static_cast<o_u2b>(clock.month),
            static_cast<o_u2b>(clock.day)};
}
inline d_Time StampTime(const KoTimeStampRec& clock)
{
    const float seconds = static_cast<float>(clock.second) + static_cast<float>(clock.fraction);
    return {static_cast<o_u2b>(clock.hour), static_cast<o_u2b>(clock.minute), seconds};
}

/// The fields of a time, zone apart, into those of a text.
void SetTimeFields(TemporalFields& fields, const d_Time& time);
/// The time of a text's fields: in their zone, or the default one where they have none, or another.
d_Time TimeOfFields(const TemporalFields& fields);
d_Time TimeOfFields(const TemporalFields& fields, int zoneHour, int zoneMinute);

/// A value's text with its zone after it, so that the text is the value again in every process:
/// "10:00:05.250+01:30". A zone of 0 is left out, and so is none in a text that is read, whatever
/// the default zone is.
KoString ZonedText(TemporalFields fields, const char* format, const d_Time& time);
/// Reads such a text leniently, fields and time.
d_Time ScanZonedText(TemporalFields& fields, const KoString& text, const char* format);

} // namespace ko

#endif
