#ifndef KOSTORE_H
#define KOSTORE_H

#include "kostore_plans.h"
#include "kostore_values.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Stores of objects. A store holds the objects of one class, whose attributes have types of the
/// type manager, with indexes on some of them, in a file or in a database. Its address is a path,
/// or postgresql://user@host/database#STORE. Objects are numbered from 1 on; no number is used
/// again. examples/store/ has a program that uses most of this.
///
/// Values go in and out as their stored forms: the type's bytes, least significant first, as they
/// stand in the store, and no bytes at all for null. So a million rows come out without a
/// conversion of each value. FormOf and ValueOf lead from and to ko::Value, and Codec
/// reads and prints values as texts. What goes in is validated first: nothing that its type would
/// not write gets into a store.
///
/// Errors. Functions throw Error and std::bad_alloc, and nothing else but what a function or a
/// stream of the caller throws. What threw has changed nothing, unless it says otherwise.
///
/// Moments. A Snapshot sees the store as it was when it was made, with all of a change or none of
/// it, whatever is written meanwhile, as far as the database of a store has such moments; so do its
/// cursors, and a function of Store that reads sees one moment. A reader never waits for a writer,
/// but up to ten seconds for others of this process where another one has made the file of the
/// store larger than its map here.
/// Snapshots and cursors may outlive the Store, and cursors the snapshot. While one of them lives,
/// the file of a store that changes grows: keep them for an answer, not for ever.
///
/// Threads. A Store and its copies serve several threads at once, whose changes wait for each
/// other. A Snapshot and all of its cursors together serve one thread at a time, and so do a Codec
/// and a Transaction. A process may have several stores open, and one store several times.
///
/// Processes. Several may read and change a store of one machine at once. Nothing here is carried
/// over a fork but plain values: a child opens its stores itself. No signal handlers are installed
/// but by EndOnBrokenPages.
///
/// Classes of the standard library cross between the program and this library: both are made with
/// the same one.
namespace ko::store
{

/// Objects to find.
struct Query {
    std::string predicate; ///< such as: speed > 200 and not state = "Texas"; empty: all
    std::vector<std::string> columns{}; ///< attributes that are wanted; none: all of them
    /// An attribute; null comes first, and equal values by number. Empty: any order, the same for
    /// the same store.
    std::string order{};
    bool descending = false;
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
};

/// Some rows of an answer, column by column. All views hold until the cursor is asked again or
/// goes.
struct Batch {
    struct Column {
        std::span<const std::string_view> forms; ///< by row; empty: null
        /// By row, or none at all. 0: the value has no code. Rows of a cursor with another equal
        /// code have equal values in this column: what is made of one serves all. Codes are small.
        std::span<const std::uint32_t> codes;
    };

    std::span<const std::uint64_t> numbers; ///< of the objects; none: the answer has ended
    std::span<const Column> columns;        ///< in the order of the query
    std::span<const Attribute> attributes;  ///< of these

    bool Empty() const noexcept { return numbers.empty(); }
    std::size_t Rows() const noexcept { return numbers.size(); }
    std::string_view Form(std::size_t row, std::size_t column) const
    {
        return columns[column].forms[row];
    }
    ko::Value Value(std::size_t row, std::size_t column) const
    {
        return ValueOf(attributes[column].type, Form(row, column));
    }
    /// The column of an attribute. Throws Error (Usage) where it is none.
    std::size_t Find(std::string_view attribute) const
    {
        for (std::size_t column = 0; column < attributes.size(); ++column) {
            if (attributes[column].name == attribute)
                return column;
        }
        throw Error(ErrorCode::Usage, "no column is called " + std::string(attribute));
    }
};

/// An answer; Snapshot::Select makes it.
class KOSTORE_API Cursor
{
public:
    ~Cursor();
    Cursor(Cursor&&) noexcept;
    Cursor& operator=(Cursor&&) noexcept;

    /// What the columns hold.
    std::span<const Attribute> Attributes() const;
    /// The next rows, up to about a thousand; none at the end. Throws Error (Damaged, Io), and the
    /// cursor then has ended.
    Batch Next();

private:
    friend class Snapshot;
    struct State;
    explicit Cursor(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

/// An object by itself.
struct Object {
    std::uint64_t number = 0;
    std::shared_ptr<const Schema> schema;
    std::vector<std::string> forms; ///< by attribute; empty: null

    /// These throw as Schema::Place for no attribute.
    const std::string& Form(std::string_view attribute) const
    {
        return forms[schema->Place(attribute)];
    }
    ko::Value Value(std::string_view attribute) const
    {
        return ValueOf(schema->attributes[schema->Place(attribute)].type, Form(attribute));
    }
};

/// The objects with one value of an attribute.
struct Group {
    std::string form; ///< empty: null
    std::uint64_t objects = 0;
};

/// A store at one moment; Store::Read makes it.
class KOSTORE_API Snapshot
{
public:
    ~Snapshot();
    Snapshot(Snapshot&&) noexcept;
    Snapshot& operator=(Snapshot&&) noexcept;

    const Schema& GetSchema() const;
    /// All objects.
    std::uint64_t Count() const;

    // These throw Error: Usage for a predicate that cannot be read, with its place, and for an
    // attribute that does not exist; Damaged; Io.

    /// The objects that meet a predicate, but no more than `most` are looked for.
    std::uint64_t Count(const std::string& predicate,
                        std::uint64_t most = std::numeric_limits<std::uint64_t>::max());
    /// How many objects that meet a predicate have each value of an attribute, in the order of the
    /// values, null first: so the lowest and the highest one as well. Values that are equal count
    /// together, under the form that comes first as bytes. Takes memory for each value.
    std::vector<Group> CountBy(const std::string& attribute, const std::string& predicate = {});
    /// An object; absent where there is none of the number.
    std::optional<Object> Find(std::uint64_t number);
    Cursor Select(const Query& query);
    /// Absent for a store that has none: Store::Analyze makes them.
    std::optional<StoreStatistics> GetStatistics();
    /// How a predicate, or a query with its order and its limit, would be answered. Reads all
    /// objects.
    Explanation Explain(const std::string& predicate);
    Explanation Explain(const Query& query);

private:
    friend class Store;
    struct State;
    explicit Snapshot(std::shared_ptr<State> state);
    std::shared_ptr<State> m_state;
};

// ---- changing

/// A change under way; it sees what it wrote. Functions throw Error (Usage) for values that the
/// attributes do not take, for attributes that do not exist or are named twice: they have done
/// nothing then, and the change may go on. After any other exception the change is lost; where it
/// is Error (Conflict), the function is run again whatever it does about it (Store::Change).
class KOSTORE_API Transaction
{
public:
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    const Schema& GetSchema() const;

    /// Adds an object and returns its number. Attributes that are not named are null.
    std::uint64_t Insert(const std::vector<Field>& fields);
    /// The same with a form for each attribute of the schema.
    std::uint64_t InsertForms(std::span<const std::string_view> forms);
    /// Sets attributes of an object; false where there is none of the number.
    bool Update(std::uint64_t number, const std::vector<Field>& fields);
    /// Takes an object away; false where there is none of the number.
    bool Erase(std::uint64_t number);
    std::optional<Object> Find(std::uint64_t number);

private:
    friend class Store;
    struct State;
    explicit Transaction(State& state) : m_state(state) {}
    State& m_state;
};

enum class Mode {
    Read,
    Change, ///< for transactions of moderate size, in turn with others
    /// For transactions of any size, as the only one that writes. Memory is bounded unless this
    /// process has the file of the store open in another mode already.
    Grow,
};

/// An open store. Copies stand for the same one.
class KOSTORE_API Store
{
public:
    /// Makes an empty store and opens it to be changed. Throws Error: Usage for a schema that is
    /// none; Exists; Io.
    static Store Create(const std::string& address, const Schema& schema);
    /// Throws Error: Missing; Damaged, also for a store of another version; Io.
    static Store Open(const std::string& address, Mode mode = Mode::Read);
    /// True where something stands at the address, a sound store or not. Throws Error (Io).
    static bool Exists(const std::string& address);

    Snapshot Read() const;

    /// Runs a function over a transaction, which is then committed to last: all of it or, where
    /// the function throws, nothing. It is run again, ten times at most, where another change came
    /// between: what it does outside of the transaction must not mind. It changes no store of the
    /// same address but through its transaction. Throws Error: Io for a store that was opened to be
    /// read; Conflict; Damaged, also where its indexes were made under another order of values.
    void Change(const std::function<void(Transaction&)>& change) const;

    // Each a snapshot or a change of its own.

    Schema GetSchema() const { return Read().GetSchema(); }
    std::uint64_t Count() const { return Read().Count(); }
    std::uint64_t Count(const std::string& predicate) const { return Read().Count(predicate); }
    std::optional<Object> Find(std::uint64_t number) const { return Read().Find(number); }
    Cursor Select(const Query& query) const { return Read().Select(query); }
    std::uint64_t Insert(const std::vector<Field>& fields) const;
    bool Update(std::uint64_t number, const std::vector<Field>& fields) const;
    bool Erase(std::uint64_t number) const;

    // Changes of the size of the indexes: Mode::Grow bounds their memory. They throw as Change, and
    // Usage for an attribute that does not exist.

    /// Makes an index; nothing where there is one.
    void AddIndex(const std::string& attribute) const;
    /// Forgets it; nothing where there is none.
    void DropIndex(const std::string& attribute) const;
    /// Makes all indexes anew, under this library's order of values.
    void Reindex() const;
    /// Joins the small rows that single changes leave in indexes, beside readers and other writers.
    /// Returns how many rows the indexes have less. What was joined before an error stays so.
    std::uint64_t Compact() const;
    /// Makes the statistics anew that plans are made by, from all objects: for a store that was
    /// made without, and one that has changed much. Beside readers and, where the database has
    /// moments, beside writers; memory is bounded in every mode but Mode::Read, which cannot.
    /// Returns the number of objects. Throws as Change.
    std::uint64_t Analyze() const;

private:
    struct State;
    explicit Store(std::shared_ptr<State> state);
    std::shared_ptr<State> m_state;
};

// ---- whole stores, by their addresses

struct ImportRequest {
    std::string store; ///< made where there is none
    std::string csv;   ///< path of a file in UTF-8, with a header
    Schema schema;     ///< of the store as well, where there is one, which keeps the indexes it has
    std::string rejects{};            ///< file for rejected rows; empty: their places are told
    std::string schemaFile{};         ///< where the schema comes from: not to be written over
    std::ostream* messages = nullptr; ///< told of rejected rows, and of progress
    bool progress = false;            ///< as a bar on a terminal
};

struct ImportResult {
    std::uint64_t stored = 0;
    std::uint64_t rejected = 0;
};

/// Stores the rows of a CSV file in one change, in bounded memory. Throws Error, with the store and
/// the file for rejected rows as they were: Usage for a file without a header or without a column
/// of the schema, another schema than the store's, and an output that is an input too; Damaged; Io;
/// Conflict. Where only the file for rejected rows cannot get its name, the rows are stored, and
/// the sentence says so.
KOSTORE_API ImportResult Import(const ImportRequest& request);

struct CheckResult {
    std::uint64_t objects = 0;
    std::uint64_t faults = 0;
};

/// Reads all of a store, and trusts none of it: pages, checksums, values, and that each index has
/// the value of every object and nothing else. Tells of the first 100 faults, a visible line each.
/// Throws Error: Damaged where it cannot be read so far; Missing; Io; Conflict where faults may be
/// those of a change that came between, of a store that is spread over servers.
KOSTORE_API CheckResult Check(const std::string& address, std::ostream& faults);

/// Copies a store to another address, between files and databases too: every object under its
/// number, and all indexes. Nobody sees anything of the copy before all of it is there, and memory
/// is bounded. Returns the number of objects. Throws Error, and there is then no copy: Damaged for
/// a source that is; Missing; Exists; Io; Conflict where a source that is spread over servers was
/// changed meanwhile.
KOSTORE_API std::uint64_t Copy(const std::string& from, const std::string& to);

/// Clears away what imports and copies to this address left behind that were killed, and in a
/// database what another store replaced a minute ago or earlier. Returns how many of such it were.
/// Throws Error (Io), also while an import is at work.
KOSTORE_API std::size_t Clean(const std::string& address);

/// The statements by which an administrator of a database lets the role `reader` read a store and
/// the role `writer` change its objects as well; an empty role is left out. They hold for the store
/// as it is now: one that replaces it needs them again. Throws Error: Usage for a path; Missing;
/// Io.
KOSTORE_API std::string GrantStatements(const std::string& address, const std::string& reader,
                                        const std::string& writer);

/// An address as sentences call it: that of a database without user and password.
KOSTORE_API std::string NameOf(const std::string& address);
/// Overwrites a password that an address has, in the place where it stands: other programs see the
/// arguments of this one. Returns whether there was one. Copy the address before.
KOSTORE_API bool HidePassword(char* address);

/// For programs, not for libraries: reading a store whose file is damaged, becomes shorter or lies
/// on a disk that fails can lead out of the map of the file. From now on SIGSEGV and SIGBUS end
/// this process with a sentence and the status 3, and so does a damaged page from which there is no
/// way back; otherwise the process aborts there. Only Check finds such damage before it is met.
/// The sentence is one line on standard error and begins with `prefix`, of which 31 bytes count:
/// "name of the program: ", say.
KOSTORE_API void EndOnBrokenPages(const char* prefix = "");

} // namespace ko::store

#endif
