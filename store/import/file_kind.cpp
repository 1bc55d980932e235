#include "import/file_kind.h"

#include <algorithm>

namespace ko::store::inner
{

std::string StrangeEncoding(std::string_view start)
{
    using namespace std::string_view_literals;
    static constexpr struct {
        std::string_view bytes;
        const char* meaning;
    } kStarts[] = {
        {"\x1F\x8B"sv, "the file looks compressed by gzip: unpack it first"},
        {"\x28\xB5\x2F\xFD"sv, "the file looks compressed by zstd: unpack it first"},
        {"\xFF\xFE"sv, "the file looks like UTF-16: it has to be UTF-8"},
        {"\xFE\xFF"sv, "the file looks like UTF-16: it has to be UTF-8"},
    };
    for (const auto& kind : kStarts) {
        if (start.starts_with(kind.bytes))
            return kind.meaning;
    }
    if (start.find('\0') != std::string_view::npos)
        return "the file has zero bytes and looks like UTF-16: it has to be UTF-8";
    return {};
}

std::string StrangeSeparator(const std::vector<std::string_view>& fields)
{
    static constexpr struct {
        char separator;
        const char* name;
    } kSeparators[] = {{';', "semicolons"}, {'\t', "tabs"}, {'|', "vertical bars"}};
    for (const auto& kind : kSeparators) {
        const auto count = [&](std::string_view field) {
            return static_cast<std::size_t>(std::count(field.begin(), field.end(), kind.separator));
        };
        std::size_t found = 0;
        for (const std::string_view field : fields)
            found += count(field);
        if (found >= std::max<std::size_t>(fields.size(), 1))
            return std::string("the file looks separated by ") + kind.name +
                   ": commas are expected";
    }
    return {};
}

} // namespace ko::store::inner
