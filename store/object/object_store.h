#ifndef KO_STORE_OBJECT_OBJECT_STORE_H
#define KO_STORE_OBJECT_OBJECT_STORE_H

#include "engine/engine.h"
#include "object/snapshot.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace ko::store::inner
{

class ObjectChange;
class Dictionaries;

/// An open store of objects over an engine. It serves several threads; snapshots serve one each,
/// and may outlive it.
class ObjectStore
{
public:
    /// Throws Error as OpenEngine does, and (ErrorCode::Damaged) where what is there is no store of
    /// objects in this format.
    static std::shared_ptr<ObjectStore> Open(const std::string& address, Mode mode);
    /// The same for an engine at hand; `name` begins sentences, and `scratch` is the path beside
    /// which temporary files come and go.
    ObjectStore(std::unique_ptr<Engine> engine, std::string name, std::string scratch);
    ~ObjectStore();

    const std::string& Name() const { return m_name; }
    /// As it was when the store was opened: another program may add or drop an index. That of a
    /// snapshot is the one that holds for it.
    const Description& About() const { return m_description; }
    const Schema& GetSchema() const { return m_description.schema; }
    unsigned SlotsOfBlock() const { return m_description.slotsOfBlock; }
    const Traits& EngineTraits() const { return m_engine->About(); }

    std::unique_ptr<Snapshot> Read() const;

    /// Runs a function over a change, which is then committed: all of it or, where the function
    /// throws, nothing. It is run again where another change came between, ten times at most: what
    /// it returns by its references must not depend on earlier runs.
    void Change(const std::function<void(ObjectChange&)>& change);

    // Each is a transaction of the size of the indexes: Mode::Grow has bounded memory for it.

    /// Makes the index on an attribute; nothing where there is one.
    void AddIndex(std::size_t attribute);
    /// Forgets it; nothing where there is none.
    void DropIndex(std::size_t attribute);
    /// Makes all indexes anew, under this program's order.
    void Reindex();

    /// Joins the small rows that single changes leave in indexes, beside readers and other writers,
    /// in transactions of bounded size: what was joined before an error stays so. Returns how many
    /// rows the indexes have less.
    std::uint64_t Compact();

    /// Makes the statistics anew, in memory that does not depend on how many objects there are.
    /// Where the engine has moments, the objects of one are read beside writers, and only what
    /// comes of them is a change, a small one. Returns how many objects there were.
    std::uint64_t Analyze();

private:
    std::optional<Range> FindJoinable(const std::string& from) const;
    template <class Call>
    void Repeat(const Call& call) const;
    template <class Once>
    void Run(const Once& once);
    std::uint64_t AnalyzeOnce();
    void MakeIndexes(Writer& writer, Snapshot& now, Description description,
                     std::vector<std::size_t> attributes) const;

    std::shared_ptr<Engine> m_engine;
    std::string m_name;
    std::string m_scratch;
    std::shared_ptr<StoreMemory> m_memory;
    Description m_description;
    std::mutex m_changing;
    std::unique_ptr<Dictionaries> m_dictionaries; ///< kept between changes
};

} // namespace ko::store::inner

#endif
