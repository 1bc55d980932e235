#ifndef KO_STORE_IMPORT_REJECTS_H
#define KO_STORE_IMPORT_REJECTS_H

#include "import/csv_reader.h"

#include <cstdint>
#include <cstdio>
#include <iosfwd>
#include <string>

namespace ko::store::inner
{

/// "line 3, column 7, byte 29"
std::string Place(const FilePosition& position);

/// Takes rejected rows: a file gets their bytes as they were, or the user their places.
///
/// A file is written beside the one that it replaces, under another name, and takes its name when
/// the import is complete; without Publish it goes. Pipes, devices and the program's own outputs
/// are written to directly.
class Rejects
{
public:
    /// An empty `path` tells the user. `told` is how many an earlier attempt has told of. Throws
    /// Error (ErrorCode::Io), as do Take and Finish, for a file that cannot be written.
    Rejects(const std::string& path, std::ostream& messages, std::uint64_t& told);
    ~Rejects();
    Rejects(const Rejects&) = delete;
    Rejects& operator=(const Rejects&) = delete;

    void Take(const CsvReader& csv, const FilePosition& position, const std::string& reason);
    /// All rows have been taken, and are on disk afterwards.
    void Finish();
    /// Gives the file its name. Throws Error (ErrorCode::Io) that names the file that has the rows.
    void Publish();

    std::uint64_t Count() const { return m_count; }

private:
    int Open();
    int OpenBeside(unsigned mode);
    void Tell(const FilePosition& position, const std::string& reason);
    void Write(const std::string& bytes);
    [[noreturn]] void Fail() const;

    std::string m_path;
    std::string m_target; ///< what the path names
    std::string m_beside; ///< what is written until it takes that name; empty where there is none
    std::ostream& m_messages;
    std::uint64_t& m_told;
    std::FILE* m_file = nullptr;
    std::uint64_t m_count = 0;
};

} // namespace ko::store::inner

#endif
