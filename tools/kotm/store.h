#ifndef KOTM_STORE_H
#define KOTM_STORE_H

#include "entry.h"
#include "objectfinder.h"
#include "record.h"
#include "schema.h"
#include "storefile.h"

#include <lmdb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// The memory map of a store that is written is too small; the caller tries again with a larger.
class MapFull : public std::exception
{
};

/// Throws MapFull or Failure for a result code of LMDB.
[[noreturn]] void FailLmdb(int code, const std::string& path);
inline void CheckLmdb(int code, const std::string& path)
{
    if (code != MDB_SUCCESS)
        FailLmdb(code, path);
}

struct StoreCounts {
    std::uint64_t objects = 0;
    std::uint64_t nextNumber = 1; ///< of the next object; numbers are never used again
};

/// A store: one LMDB file with a database of objects, one for each index, and one that describes
/// the store. An open store is one transaction; what was written is gone without Commit.
///
/// A new store is built in the file PATH.new, which takes its name on Commit, so that PATH never
/// names a half-written store. One store is open in the process at a time.
class Store : private FullForms
{
public:
    struct CloseCursor {
        void operator()(MDB_cursor* cursor) const { mdb_cursor_close(cursor); }
    };
    using Cursor = std::unique_ptr<MDB_cursor, CloseCursor>;

    /// Opens for reading. Throws Failure (Exit::Damaged) for a file that is no sound store of this
    /// version.
    static std::unique_ptr<Store> Open(const std::string& path);
    /// Opens for writing, with a map of at least `mapBytes` bytes.
    static std::unique_ptr<Store> OpenToAdd(const std::string& path, std::uint64_t mapBytes);
    static std::unique_ptr<Store> Create(const std::string& path, const Schema& schema,
                                         std::uint64_t mapBytes);
    ~Store() override;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    const std::string& Path() const { return m_path; }
    const Schema& GetSchema() const { return *m_schema; }
    const StoreCounts& Counts() const { return m_counts; }

    MDB_txn* Transaction() const { return m_txn; }
    MDB_dbi Objects() const { return m_objects; }
    /// The index on an attribute that has one.
    MDB_dbi Index(std::size_t attribute) const { return *m_indexes[attribute]; }
    std::uint64_t CountEntries(MDB_dbi dbi) const;
    Cursor OpenCursor(MDB_dbi dbi) const;

    /// The record of an object; false where there is none.
    bool Find(const char* id, std::string_view& record) const;
    /// Looks up from now on as a store does that was just opened: for measurements and tests.
    void ForgetPlaces() { m_finder.reset(); }
    /// Has the processor fetch what Find will look at for the object of that number.
    void Fetch(std::uint64_t number) const { Finder().Fetch(number); }

    /// Adds an object under the next number and returns the number. The objects of one import come
    /// in the order of their numbers.
    std::uint64_t Add(std::string_view record);
    /// Adds entries of the index on `attribute` that differ in their objects only; these take the
    /// place of the one in `entry`. `inOrder` says that they come after all others, in their
    /// order.
    void AddEntries(std::size_t attribute, std::string& entry, const std::uint64_t* objects,
                    std::size_t count, bool inOrder);
    void Commit();

    /// The values that CompareEntries meets in entries with the tags 1 and 2: bounds of a search.
    void SetBound(std::uint32_t tag, std::string_view form) { m_bounds[tag - 1] = form; }

private:
    enum class Mode { Read, Add, Create };

    Store(std::string path, Mode mode, std::uint64_t mapBytes, const Schema* schema);
    void CreateEnvironment();
    void OpenEnvironment(std::uint64_t mapBytes);
    void OpenDatabases();
    void CheckCounts() const;
    void ReadDescription();
    void WriteDescription();
    void WriteCounts();
    void Put(MDB_dbi dbi, MDB_val key, MDB_val value, unsigned flags);
    void CommitTransaction();
    void Count(std::size_t bytes);
    void Reserve();
    std::uint64_t PagesInUse() const;
    void Close() noexcept;
    bool Find(std::size_t attribute, const char* id, std::string_view& form) override;
    ObjectFinder& Finder() const;
    void Check(int code) const
    {
        if (code != MDB_SUCCESS)
            CheckLmdb(code, m_path);
    }

    std::string m_path;
    std::string m_file; ///< where it is written
    Mode m_mode;
    std::optional<Schema> m_schema;
    std::optional<LockedFile> m_lock;
    std::uint64_t m_bytesBefore = 0; ///< of the file's pages when it was opened
    MDB_env* m_env = nullptr;
    MDB_txn* m_txn = nullptr;
    /// Of the database that was put into last: it stands at the end, where the next one goes.
    Cursor m_cursor;
    mutable std::optional<ObjectFinder> m_finder;
    MDB_dbi m_description = 0;
    MDB_dbi m_objects = 0;
    std::vector<std::optional<MDB_dbi>> m_indexes;
    StoreCounts m_counts;
    std::size_t m_sinceStep = 0; ///< bytes put since the last step
    std::string m_bounds[2];
    std::optional<RecordReader> m_reader;
    FullForms* m_previousForms = nullptr;
};

} // namespace kotm

#endif
