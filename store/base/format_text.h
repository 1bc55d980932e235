#ifndef KO_STORE_BASE_FORMAT_TEXT_H
#define KO_STORE_BASE_FORMAT_TEXT_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ko::store::inner
{

/// A format in UTF-8 for the library, whose formats are bytes of code set 1. Characters that are
/// not in that code set are stood for by bytes that neither the format nor the text at hand has.
class FormatText
{
public:
    /// `text` is what is read under the format, or printed by it: UTF-8.
    FormatText(std::string_view format, std::string_view text);

    /// True for a format that is the same in both.
    static bool IsPlain(std::string_view format);

    const char* Bytes() const { return m_bytes.c_str(); }
    /// The text in which the bytes stand for their characters.
    std::string WithStandIns(std::string_view text) const;
    /// And back.
    std::string WithCharacters(std::string_view text) const;

private:
    std::string m_bytes;
    std::vector<std::pair<int, int>> m_standIns; ///< character, and what stands for it
};

} // namespace ko::store::inner

#endif
