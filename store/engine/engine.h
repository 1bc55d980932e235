#ifndef KO_STORE_ENGINE_ENGINE_H
#define KO_STORE_ENGINE_ENGINE_H

#include "base/space.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

// What keeps a store: ordered bytes under keys, with transactions. Keys are ordered byte by byte as
// unsigned numbers, a key before the longer ones that begin with it. Nothing here knows what the
// bytes mean, and nothing above it knows which engine keeps them.
//
// Errors are exceptions. Error has a sentence for the user: ErrorCode::Damaged for a store that
// cannot be trusted, ErrorCode::Missing where there is none and ErrorCode::Exists where a new one
// finds another in its place, ErrorCode::Io for whatever else the system refuses, a key or a value
// of another size than allowed, and an append out of order. Functions of an address throw
// ErrorCode::Usage where it is none that they read. Conflict means that the whole change can be run
// again. After either, an object that threw answers nothing but its destructor, which keeps nothing
// of a change.
//
// Threads: an Engine serves several at once. Readers, writers, cursors and loaders serve one at a
// time; a writer and a loader stay with the thread that began them. None of them is carried over a
// fork.

// The ordered maps of a store are those of base/space.h.
/// In lower case: "description", "blocks" and so on.
const char* SpaceName(Space space);

/// Keys have 1 to so many bytes, values 0 to so many.
inline constexpr std::size_t kMaxKey = 511;
inline constexpr std::size_t kMaxValue = 1'000'000'000;

struct Row {
    std::string_view key;
    std::string_view value;
};

/// The keys from `low` on, up to but not with `high`; without `high`, up to the end. An empty `low`
/// stands before every key. Where `high` is not above `low` there are none.
struct Range {
    std::string low;
    std::optional<std::string> high;
};

enum class Direction { Forwards, Backwards };

/// Another change came between, or the connection to a server was lost: the caller runs its own
/// change again, from the first read on.
class Conflict : public std::exception
{
public:
    enum class Cause { OtherChange, LostConnection };

    explicit Conflict(Cause cause = Cause::OtherChange) : m_cause(cause) {}
    bool IsLoss() const { return m_cause == Cause::LostConnection; }
    const char* what() const noexcept override
    {
        return IsLoss() ? "the connection was lost" : "other changes came between";
    }

private:
    Cause m_cause;
};

/// A walk over a range, from its lower end upwards or from its upper end downwards. It ends before
/// the reader that made it does.
class Cursor
{
public:
    virtual ~Cursor() = default;
    /// The next 1 to `most` rows of the walk, none at its end and from then on; fewer than `most`
    /// say nothing about the end. The views hold until the next call of the cursor, and those of a
    /// writer's cursor until the writer's next change. Changes of the writer ahead of the walk are
    /// met by it, those behind it are not. `most` is at least 1.
    virtual std::span<const Row> Next(std::size_t most) = 0;
};

/// The store at one moment, where the engine has such moments (Traits::snapshots); otherwise each
/// call may see a later state than the one before. An engine may throw Conflict where the moment
/// is gone, for the whole reading to be begun again.
class Reader
{
public:
    /// Gets the number of a key in the batch, and its value, which holds until it returns. It calls
    /// nothing of the reader that calls it.
    using Found = std::function<void(std::size_t key, std::string_view value)>;

    virtual ~Reader() = default;
    /// Looks up keys that ascend, each once, and calls `found` for those that are there, in any
    /// order. A batch costs as few round trips as the engine can do with: ask for all at once. What
    /// `found` throws passes through, and the reader goes on to serve.
    virtual void Get(Space space, std::span<const std::string_view> keys, const Found& found) = 0;
    virtual std::unique_ptr<Cursor> Walk(Space space, const Range& range, Direction direction) = 0;
    /// The rows of a range, exact for few and otherwise guessed by how the engine keeps them, at
    /// the cost of a few look-ups: for plans, never for answers.
    virtual std::uint64_t CountRoughly(Space space, const Range& range) = 0;

    /// One key; absent where there is none.
    std::optional<std::string> GetOne(Space space, std::string_view key)
    {
        std::optional<std::string> value;
        Get(space, {&key, 1}, [&](std::size_t, std::string_view bytes) { value.emplace(bytes); });
        return value;
    }
};

/// A change of the store, which sees what it wrote itself and nothing that others write meanwhile.
/// Nobody else sees any of it before Commit, and everybody all of it afterwards
/// (Traits::atomicCommit). Without Commit it never was.
///
/// Every call may throw Conflict. An engine may gather changes and send them with a later call:
/// what is wrong with one may be thrown by any call up to Commit.
class Writer : public Reader
{
public:
    /// Sets the value of a key, whether there was one or not. The bytes are no views that the
    /// writer gave.
    virtual void Put(Space space, std::string_view key, std::string_view value) = 0;
    /// Takes a key away; one that is not there is no error.
    virtual void Erase(Space space, std::string_view key) = 0;
    /// Returns when the change outlasts a loss of power. Afterwards the writer serves no more.
    virtual void Commit() = 0;
};

/// What it takes an engine to reach its rows: plans go by it.
enum class Reach {
    Mapped, ///< they are looked at where they stand
    Copied, ///< they stand in this process
    Server, ///< a question is a round trip
};

/// What differs between engines and matters to a store above them.
struct Traits {
    const char* name;       ///< for messages: "LMDB"
    std::size_t blockBytes; ///< the size that a block of objects had best have
    bool snapshots;         ///< a reader sees one moment in all of its calls
    bool atomicCommit;      ///< a change is never seen in part: otherwise new rows come first
    /// What a reader (but no writer) and its cursors hand out stays where it is as long as the
    /// reader, whatever is called.
    bool viewsLast;
    Reach reach;
};

/// Fills a new store, of which nobody sees anything before Publish. Without it nothing stays but
/// what the next loader for the same address clears away. Own memory is bounded, whatever is
/// appended.
class Loader
{
public:
    virtual ~Loader() = default;
    virtual const Traits& About() const = 0;
    /// Appends a row after all others of its space: keys ascend within a space, and spaces may take
    /// turns.
    virtual void Append(Space space, std::string_view key, std::string_view value) = 0;
    /// Makes the store visible, all at once and to last. Throws Error: ErrorCode::Exists where the
    /// address has got a store meanwhile, which stays as it is. Afterwards the loader serves no
    /// more.
    virtual void Publish() = 0;
};

/// An open store. Readers and writers may outlive it.
class Engine
{
public:
    virtual ~Engine() = default;
    virtual const Traits& About() const = 0;
    virtual std::unique_ptr<Reader> Read() = 0;
    /// Begins a change, where need be after another writer has ended. Throws Error where the
    /// store was opened for reading only, or the other writer takes longer than ten seconds.
    virtual std::unique_ptr<Writer> Write() = 0;
};

enum class Mode {
    Read,
    Change, ///< to write in transactions of moderate size, in turn with others
    Grow,   ///< to write in transactions of any size, with memory bounded, as the only writer
};

/// Opens a store. Throws Error: ErrorCode::Missing where there is none; ErrorCode::Io where it
/// cannot be opened, or for Mode::Grow at once where another one writes; ErrorCode::Damaged where
/// it is no store that this program reads. A store may be open several times in one process.
std::unique_ptr<Engine> OpenEngine(const std::string& address, Mode mode);
/// Begins a new store. Throws Error: ErrorCode::Exists where there is one already; ErrorCode::Io
/// where another loader is at work there, or a file of somebody's own is in its way.
std::unique_ptr<Loader> StartLoad(const std::string& address);

/// Overwrites a password that an address has, in the place where it stands and however long it is:
/// other programs see the arguments of this one. Returns whether there was one. What is needed of
/// the address is to be copied before.
bool HidePassword(char* address);

/// True where something stands at the address, whether it is a sound store or not.
bool StoreExists(const std::string& address);
/// Checks what the engine itself is built of before it trusts it, all of it. Throws Error
/// (ErrorCode::Damaged) with what is wrong first, or ErrorCode::Missing.
void CheckEngine(const std::string& address);
/// The files that belong to the store or come and go while it is written, none of which may be an
/// input or another output. Empty where the address names no file.
std::vector<std::string> FilesOfStore(const std::string& address);
/// Clears away what loaders of this store left behind that were killed, and in a database what was
/// replaced a minute ago or earlier. Returns how many of such it were. Throws Error (ErrorCode::Io)
/// while a loader is at work, or where a file of somebody's own has the name.
std::size_t Clean(const std::string& address);
/// The statements by which an administrator of a database lets one role read a store and another
/// change its objects as well; an empty role is left out. They hold for the store as it is now: one
/// that replaces it needs them again. Throws Error: ErrorCode::Usage for a path.
std::string GrantStatements(const std::string& address, const std::string& reader,
                            const std::string& writer);
/// What sentences call the store: its address, of a database without user and password.
std::string NameOfStore(const std::string& address);
/// A path beside which temporary files may come and go while the store is written or checked: the
/// store's own, and for a database one in TMPDIR or /tmp.
std::string ScratchOfStore(const std::string& address);

} // namespace ko::store::inner

#endif
