#ifndef KO_TEST_BLOBS_H
#define KO_TEST_BLOBS_H

#include <koblob.h>

#include <string>

/// Blobs for tests, and how they show.

inline KoBlob Of(const std::string& bytes)
{
    return {bytes.data(), static_cast<int>(bytes.size())};
}

inline KoBlob Null()
{
    KoBlob blob;
    blob.SetNullValue();
    return blob;
}

/// The bytes in front of their number, so that null, empty and lengths are told apart.
inline std::string Shown(const KoBlob& blob)
{
    if (blob.IsNullValue())
        return "null";
    const void* bytes = blob.Seek(0, -1);
    return std::to_string(blob.Length()) + ":" +
           std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(blob.Length()));
}

#endif
