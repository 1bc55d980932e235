#include "importer.h"

#include "arguments.h"
#include "columnreader.h"
#include "csvreader.h"
#include "failure.h"
#include "filekind.h"
#include "indexbuilder.h"
#include "rejects.h"
#include "samefile.h"
#include "store.h"
#include "visible.h"

#include <sys/stat.h>

#include <algorithm>
#include <ostream>

namespace kotm
{

namespace
{

/// What the sorting of all indexes together may take.
constexpr std::size_t kSortMemory = 16U << 20;
/// What the texts that are known of all attributes together may take.
constexpr std::size_t kTextMemory = 4U << 20;
/// No row takes more store than this many times its bytes in the file: the map begins with that.
constexpr std::uint64_t kMapFactor = 16;

/// A bar that is drawn anew at each whole percent.
class Progress
{
public:
    Progress(bool shown, std::uint64_t total, std::ostream& messages)
        : m_shown(shown && total > 0), m_total(total), m_messages(messages)
    {
    }
    ~Progress()
    {
        if (m_drawn >= 0)
            m_messages << "\r\x1b[K" << std::flush;
    }
    void Show(std::uint64_t done)
    {
        const int percent = m_shown ? static_cast<int>(done * 100 / m_total) : m_drawn;
        if (percent == m_drawn)
            return;
        m_drawn = percent;
        const auto filled = static_cast<std::size_t>(percent / 2);
        m_messages << "\r[" << std::string(filled, '#') << std::string(50 - filled, ' ') << "] "
                   << percent << '%' << std::flush;
    }

private:
    bool m_shown;
    std::uint64_t m_total;
    std::ostream& m_messages;
    int m_drawn = -1;
};

bool Exists(const std::string& path)
{
    struct stat info {
    };
    return stat(path.c_str(), &info) == 0;
}

/// The field of each attribute, by the header's names.
std::vector<std::size_t> MapColumns(CsvReader& csv, const std::string& path, const Schema& schema,
                                    std::size_t& fields)
{
    const CsvReader::Result result = csv.Next();
    if (result == CsvReader::Result::End)
        throw Failure(Exit::Usage, path + ": the file is empty, a header is expected");
    const auto refuse = [&](const std::string& reason) {
        const std::string strange = StrangeEncoding(csv.RowBytes(0, 4096));
        throw Failure(Exit::Usage, path + ": " + (strange.empty() ? reason : strange));
    };
    if (result == CsvReader::Result::Malformed)
        refuse("header: " + Place(csv.FaultPosition()) + ": " + csv.Reason());
    const std::vector<std::string_view>& header = csv.Fields();
    fields = header.size();
    std::vector<std::size_t> columns;
    for (const Attribute& attribute : schema.attributes) {
        const auto found = std::find(header.begin(), header.end(), attribute.column);
        const bool missing = found == header.end();
        if (missing || std::find(found + 1, header.end(), attribute.column) != header.end()) {
            const std::string separator = StrangeSeparator(header);
            refuse(std::string("the header has ") + (missing ? "no" : "more than one") +
                   " column " + Quoted(attribute.column) + " (attribute " + attribute.name +
                   "); it has " + Listed({header.begin(), header.end()}) +
                   (separator.empty() ? "" : "; ") + separator);
        }
        columns.push_back(static_cast<std::size_t>(found - header.begin()));
    }
    return columns;
}

/// Nothing that is read may be written over, and the rejected rows not over the store.
void CheckNames(const ImportRequest& request)
{
    struct Name {
        const char* what;
        std::string path;
    };
    const auto refuse = [](const Name& file, const Name& other) {
        if (!file.path.empty() && IsSameFile(file.path, other.path))
            throw Failure(Exit::Usage, std::string(file.what) + ' ' + file.path +
                                           " is the same file as " + other.what + ' ' + other.path);
    };
    const Name csv{"the CSV file", request.csv};
    const Name schema{"the schema", request.schema};
    const Name rejects{"the file for rejected rows", request.rejects};
    for (const Name& written :
         {Name{"the store", request.store}, Name{"the new store", NewStorePath(request.store)},
          Name{"the lock of the store", StoreLockPath(request.store)}}) {
        for (const Name& file : {csv, schema, rejects})
            refuse(file, written);
    }
    refuse(rejects, csv);
    if (!schema.path.empty())
        refuse(rejects, schema);
}

/// One attempt at an import, with a map of a given size.
class Attempt
{
public:
    Attempt(const ImportRequest& request, const Schema& schema, std::ostream& messages)
        : m_request(request), m_schema(schema), m_messages(messages), m_csv(request.csv),
          m_columns(MapColumns(m_csv, request.csv, schema, m_fields)), m_record(schema),
          m_forms(schema.attributes.size())
    {
        for (const Attribute& attribute : schema.attributes)
            m_readers.emplace_back(attribute, kTextMemory / schema.attributes.size());
    }

    ImportResult Run(std::uint64_t mapBytes, std::uint64_t& rejectsTold)
    {
        m_store = Exists(m_request.store) ? Store::OpenToAdd(m_request.store, mapBytes)
                                          : Store::Create(m_request.store, m_schema, mapBytes);
        const std::string difference = m_store->GetSchema().DifferenceTo(m_schema);
        if (!difference.empty())
            throw Failure(Exit::Usage,
                          m_request.store +
                              ": has another schema than the one given: " + difference);
        StartIndexes();
        Rejects rejects(m_request.rejects, m_messages, rejectsTold);
        const std::uint64_t before = m_store->Counts().objects;
        {
            Progress progress(m_request.progress, m_csv.FileSize(), m_messages);
            ReadRows(rejects, progress);
        }
        FinishIndexes();
        rejects.Finish();
        m_store->Commit();
        rejects.Publish();
        return {m_store->Counts().objects - before, rejects.Count()};
    }

private:
    void StartIndexes()
    {
        const auto indexed = [](const Attribute& attribute) { return attribute.index; };
        const auto& attributes = m_schema.attributes;
        const auto count =
            static_cast<std::size_t>(std::count_if(attributes.begin(), attributes.end(), indexed));
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            if (attributes[i].index) {
                m_indexed.push_back(i);
                m_builders.emplace_back(i, attributes[i].type.Id(), kSortMemory / count,
                                        m_request.store);
            }
        }
    }

    void ReadRows(Rejects& rejects, Progress& progress)
    {
        for (;;) {
            const CsvReader::Result result = m_csv.Next();
            if (result == CsvReader::Result::End)
                return;
            if (result == CsvReader::Result::Malformed)
                rejects.Take(m_csv, m_csv.FaultPosition(), m_csv.Reason());
            else
                TakeRow(rejects);
            progress.Show(m_csv.Offset());
        }
    }

    void TakeRow(Rejects& rejects)
    {
        const std::vector<std::string_view>& fields = m_csv.Fields();
        if (fields.size() != m_fields) {
            const bool more = fields.size() > m_fields;
            rejects.Take(m_csv,
                         more ? m_csv.Locate(m_fields, 0)
                              : m_csv.Locate(fields.size() - 1, fields.back().size()),
                         std::to_string(fields.size()) + " fields where the header has " +
                             std::to_string(m_fields));
            return;
        }
        TextFault fault;
        for (std::size_t i = 0; i < m_readers.size(); ++i) {
            if (!m_readers[i].Read(fields[m_columns[i]], m_forms[i], fault)) {
                rejects.Take(m_csv, m_csv.Locate(m_columns[i], fault.offset),
                             m_schema.attributes[i].name + ": " + fault.reason);
                return;
            }
        }
        const std::uint64_t number = m_store->Add(m_record.Write(m_forms));
        for (std::size_t i = 0; i < m_indexed.size(); ++i) {
            const std::size_t attribute = m_indexed[i];
            m_builders[i].Add(m_forms[attribute], number, m_readers[attribute].Hint());
        }
    }

    void FinishIndexes()
    {
        for (std::size_t i = 0; i < m_indexed.size(); ++i) {
            const std::size_t attribute = m_indexed[i];
            const bool inOrder = m_store->CountEntries(m_store->Index(attribute)) == 0;
            m_builders[i].Finish(
                [&](std::string& entry, const std::uint64_t* objects, std::size_t count) {
                    m_store->AddEntries(attribute, entry, objects, count, inOrder);
                });
        }
        m_builders.clear();
    }

    const ImportRequest& m_request;
    const Schema& m_schema;
    std::ostream& m_messages;
    CsvReader m_csv;
    std::size_t m_fields = 0;
    std::vector<std::size_t> m_columns;
    RecordWriter m_record;
    std::vector<ColumnReader> m_readers;
    std::vector<std::string_view> m_forms; ///< of the attributes of the current row
    std::unique_ptr<Store> m_store;
    std::vector<std::size_t> m_indexed; ///< attributes, in the order of m_builders
    std::vector<IndexBuilder> m_builders;
};

} // namespace

ImportResult Import(const ImportRequest& request, const Schema& schema, std::ostream& messages)
{
    CheckNames(request);
    std::uint64_t told = 0;
    for (std::uint64_t factor = kMapFactor;; factor *= 4) {
        Attempt attempt(request, schema, messages);
        struct stat csv {
        };
        struct stat store {
        };
        stat(request.csv.c_str(), &csv);
        stat(request.store.c_str(), &store);
        const std::uint64_t bytes = static_cast<std::uint64_t>(csv.st_size) * factor +
                                    static_cast<std::uint64_t>(store.st_size) * 2 + (64U << 20);
        try {
            return attempt.Run(bytes & ~std::uint64_t{0xFFFFF}, told);
        } catch (const MapFull&) {
            // The transaction is gone; the next attempt starts from the first row.
        }
    }
}

} // namespace kotm
