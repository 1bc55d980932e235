#include "require.h"

#include <kotms.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>

// Texts of dates and times: the first byte of the input chooses the type, a zero ends the format,
// the rest is the text. Whatever they are, nothing after either is read, both widths of text read
// alike, and what is read strictly is a value that its own text gives back.

namespace
{

constexpr o_char kTypes[] = {KoDATE_T,      KoTIME_T,     KoDATIME_T,   D_DATE_T,    D_TIME_T,
                             D_TIMESTAMP_T, D_INTERVAL_T, KoDATIME_N_T, KoTIMESPAN_T};

class Value
{
public:
    explicit Value(o_char id) : m_id(id), m_value(s_manager.Create(id, 1)) {}
    ~Value() { s_manager.Delete(m_id, m_value, 1); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    bool Parse(const KoString& text, const char* format)
    {
        unsigned errorAt = 0;
        const int result = s_manager.ParseFromKoString(m_id, m_value, text, format, errorAt);
        Require(result == 0 || errorAt <= text.Len(), "an error within the text");
        return result == 0;
    }
    void Scan(KoString& text, const char* format)
    {
        s_manager.ScanFromKoString(m_id, m_value, text, format, 1);
    }
    void Print(KoString& text, const char* format)
    {
        s_manager.PrintToKoString(m_id, text, m_value, format, 1);
    }
    bool Equals(const Value& other) { return Equals(other.m_value); }
    bool Equals(const void* other)
    {
        return s_manager.Cmp(m_id, m_value, other, kKoCmpStrictBit, 1, KoFMT_MEMORY) == 0;
    }
    bool ComesBackFromText()
    {
        const std::unique_ptr<KoTypeConvertData> texts(s_manager.ConvertTo(m_id, m_value, 1));
        void* back = s_manager.ConvertFrom(m_id, texts.get(), 1);
        const bool same = Equals(back);
        s_manager.Delete(m_id, back, 1);
        return same;
    }

private:
    static inline KoTypeMgr s_manager{5};
    o_char m_id;
    void* m_value;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto* end =
        size == 0 ? nullptr : static_cast<const std::uint8_t*>(std::memchr(data + 1, 0, size - 1));
    if (end == nullptr || size > 2000)
        return 0;
    const o_char id = kTypes[data[0] % std::size(kTypes)];
    // Copies of their exact size, so that the sanitizer sees what is read after them.
    const auto formatSize = static_cast<std::size_t>(end - data);
    const std::unique_ptr<char[]> format(new char[formatSize]);
    std::memcpy(format.get(), data + 1, formatSize);
    const std::string bytes(reinterpret_cast<const char*>(end + 1), size - formatSize - 1);
    KoString text(bytes.c_str());
    KoString wide(text);
    wide.MapToCodeSet(KoCS_UNICODE);

    Value scanned(id);
    scanned.Scan(text, format.get());
    Value scannedWide(id);
    scannedWide.Scan(wide, format.get());
    bool ascii = true;
    for (const char c : bytes)
        ascii = ascii && static_cast<unsigned char>(c) < 128;
    Require(!ascii || scanned.Equals(scannedWide), "both widths scan alike");

    Value value(id);
    const bool read = value.Parse(text, format.get());
    Value valueWide(id);
    Require(valueWide.Parse(wide, format.get()) == read, "both widths are refused alike");
    if (!read)
        return 0;
    Require(value.Equals(valueWide), "both widths read alike");
    Require(value.ComesBackFromText(), "the value of its own text");
    value.Print(text, format.get());
    return 0;
}
