#ifndef KOTM_COLUMNREADER_H
#define KOTM_COLUMNREADER_H

#include "fieldreader.h"
#include "knowntexts.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kotm
{

/// Reads the texts of one attribute of many objects. Columns repeat their values: most fields of a
/// large file are known from before, whatever their type, and are not converted again.
class ColumnReader
{
public:
    /// `memory` is what the texts that are known may take, in bytes.
    ColumnReader(const Attribute& attribute, std::size_t memory);

    /// Does what FieldReader::Read does.
    FieldReader::Result Read(std::string_view utf8, std::string& bytes, TextFault& fault);

    /// A number of the caller's that stays with the text read last, for as long as that is known;
    /// 0 at first. Valid until the next Read.
    std::uint64_t& Hint() { return *m_hint; }

private:
    FieldReader m_reader;
    bool m_emptyIsAbsent;
    KnownTexts m_known;
    std::uint64_t m_absentHint = 0;
    std::uint64_t m_newHint = 0;
    std::uint64_t* m_hint = &m_newHint;
};

} // namespace kotm

#endif
