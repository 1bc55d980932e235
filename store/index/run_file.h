#ifndef KO_STORE_INDEX_RUN_FILE_H
#define KO_STORE_INDEX_RUN_FILE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The sorted runs of an index: groups of an entry and the numbers of the objects that share its
/// value. The file is temporary: written at its end, read anywhere, and without a name, so that
/// nothing is left of it whatever becomes of the process.
class RunFile
{
public:
    /// `path` names the place. Throws Error (ErrorCode::Io), as do Add, Flush and Read.
    explicit RunFile(const std::string& path);
    ~RunFile();
    RunFile(const RunFile&) = delete;
    RunFile& operator=(const RunFile&) = delete;

    void Add(std::string_view entry, const std::uint64_t* numbers, std::size_t count);
    /// Where the next group goes.
    std::uint64_t End() const { return m_end + m_buffer.size(); }
    /// What was added can be read from here on.
    void Flush();
    std::size_t Read(char* to, std::size_t most, std::uint64_t offset) const;

private:
    [[noreturn]] void Fail() const;

    std::string m_name;
    int m_file;
    std::uint64_t m_end = 0;
    std::string m_buffer;
};

/// Reads one run.
class RunReader
{
public:
    RunReader(const RunFile& file, std::uint64_t start, std::uint64_t end, std::size_t buffer);

    bool AtEnd() const { return m_atEnd; }
    std::string& Entry() { return m_entry; }
    const std::string& Entry() const { return m_entry; }
    /// Some of the numbers of the group that are left; false, and none, at its end.
    bool TakeNumbers(std::vector<std::uint64_t>& numbers);

    /// Moves on to the next group; the numbers of this one have been taken.
    void Next();

private:
    template <class Number>
    Number Take()
    {
        Number number;
        TakeBytes(reinterpret_cast<char*>(&number), sizeof number);
        return number;
    }

    void TakeBytes(char* to, std::size_t size);

    const RunFile* m_file;
    std::uint64_t m_at;
    std::uint64_t m_end;
    std::vector<char> m_buffer;
    std::size_t m_used = 0;
    std::size_t m_filled = 0;
    std::string m_entry;
    std::uint32_t m_count = 0; ///< numbers of the group that are left
    bool m_atEnd = false;
};

} // namespace ko::store::inner

#endif
