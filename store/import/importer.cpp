#include "import/importer.h"

#include "base/listed.h"
#include "base/same_file.h"
#include "base/visible.h"
#include "engine/engine.h"
#include "import/column_reader.h"
#include "import/csv_reader.h"
#include "import/file_kind.h"
#include "import/rejects.h"
#include "object/bulk.h"
#include <kostore.h>

#include <algorithm>
#include <ostream>
#include <thread>

namespace ko::store::inner
{

namespace
{

/// What the texts that are known of all attributes together may take: the same for each, and as
/// much again for those that need more.
constexpr std::size_t kTextMemory = 4U << 20;
constexpr unsigned kMostRuns = 10;
constexpr std::chrono::milliseconds kPause{200}; ///< before a store is opened again

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

/// The field of each attribute, by the header's names.
std::vector<std::size_t> MapColumns(CsvReader& csv, const std::string& path, const Schema& schema,
                                    std::size_t& fields)
{
    const CsvReader::Result result = csv.Next();
    if (result == CsvReader::Result::End)
        throw Error(ErrorCode::Usage, path + ": the file is empty, a header is expected");
    const auto refuse = [&](const std::string& reason) {
        const std::string strange = StrangeEncoding(csv.RowBytes(0, 4096));
        throw Error(ErrorCode::Usage, path + ": " + (strange.empty() ? reason : strange));
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
            throw Error(ErrorCode::Usage, std::string(file.what) + ' ' + file.path +
                                              " is the same file as " + other.what + ' ' +
                                              other.path);
    };
    const Name csv{"the CSV file", request.csv};
    const Name schema{"the schema", request.schemaFile};
    const Name rejects{"the file for rejected rows", request.rejects};
    for (const std::string& path : FilesOfStore(request.store)) {
        const Name written{path == request.store ? "the store" : "a file of the store", path};
        for (const Name& file : {csv, schema, rejects})
            refuse(file, written);
    }
    refuse(rejects, csv);
    if (!schema.path.empty())
        refuse(rejects, schema);
}

/// One run of an import.
class Run
{
public:
    Run(const ImportRequest& request, const Schema& schema, std::ostream& messages)
        : m_request(request), m_schema(schema), m_messages(messages), m_csv(request.csv),
          m_columns(MapColumns(m_csv, request.csv, schema, m_fields)),
          m_forms(schema.attributes.size()), m_memos(schema.attributes.size())
    {
        for (const Attribute& attribute : schema.attributes)
            m_readers.emplace_back(attribute, kTextMemory / schema.attributes.size(), m_moreMemory);
    }

    /// `isAgain`: after a run that ended in a conflict.
    ImportResult Do(bool isAgain, std::uint64_t& rejectsTold)
    {
        if (isAgain)
            OpenAgain();
        else
            Open();
        const std::string difference = m_objects->GetSchema().DifferenceTo(m_schema);
        if (!difference.empty())
            throw Error(ErrorCode::Usage,
                        NameOfStore(m_request.store) +
                            ": has another schema than the one given: " + difference);
        Rejects rejects(m_request.rejects, m_messages, rejectsTold);
        const std::uint64_t before = m_objects->GetCounts().objects;
        {
            Progress progress(m_request.progress, m_csv.FileSize(), m_messages);
            ReadRows(rejects, progress);
        }
        rejects.Finish();
        m_objects->Commit();
        rejects.Publish();
        return {m_objects->GetCounts().objects - before, rejects.Count()};
    }

private:
    void Open()
    {
        const std::string& store = m_request.store;
        if (!StoreExists(store)) {
            m_objects = Bulk::Create(StartLoad(store), m_schema, ScratchOfStore(store));
            return;
        }
        m_engine = OpenEngine(store, Mode::Grow);
        m_objects = Bulk::Grow(*m_engine, NameOfStore(store), ScratchOfStore(store));
    }

    /// A first connection that fails is an error at once, but here the store was met before.
    void OpenAgain()
    {
        using std::chrono::steady_clock;
        const auto end = steady_clock::now() + PatienceInForce();
        for (;;) {
            try {
                return Open();
            } catch (const Error& error) {
                // One that came or went between the question and the answer is asked for again.
                const bool mayHelp = error.Code() == ErrorCode::Io ||
                                     error.Code() == ErrorCode::Missing ||
                                     error.Code() == ErrorCode::Exists;
                if (!mayHelp || steady_clock::now() > end)
                    throw;
            }
            m_engine.reset(); // it may be the only one to write
            std::this_thread::sleep_for(kPause);
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
        for (std::size_t i = 0; i < m_readers.size(); ++i)
            m_readers[i].Expect(fields[m_columns[i]]);
        TextFault fault;
        for (std::size_t i = 0; i < m_readers.size(); ++i) {
            if (!m_readers[i].Read(fields[m_columns[i]], m_forms[i], fault)) {
                rejects.Take(m_csv, m_csv.Locate(m_columns[i], fault.offset),
                             m_schema.attributes[i].name + ": " + fault.reason);
                return;
            }
        }
        for (std::size_t i = 0; i < m_readers.size(); ++i)
            m_memos[i] = &m_readers[i].Memo();
        m_objects->Add(m_forms, m_memos);
    }

    const ImportRequest& m_request;
    const Schema& m_schema;
    std::ostream& m_messages;
    CsvReader m_csv;
    std::size_t m_fields = 0;
    std::vector<std::size_t> m_columns;
    std::size_t m_moreMemory = kTextMemory; ///< of the readers, which is nobody's yet
    std::vector<ColumnReader> m_readers;
    std::vector<std::string_view> m_forms; ///< of the attributes of the current row
    std::vector<FormMemo*> m_memos;        ///< of these
    std::unique_ptr<Engine> m_engine;      ///< of a store that grows
    std::unique_ptr<Bulk> m_objects;
};

} // namespace

ImportResult Import(const ImportRequest& request, const Schema& schema, std::ostream& messages)
{
    CheckNames(request);
    std::uint64_t told = 0;
    for (unsigned run = 1;; ++run) {
        try {
            return Run(request, schema, messages).Do(run > 1, told);
        } catch (const Conflict& conflict) {
            // The next run begins with the first row.
            if (run == kMostRuns)
                throw Error(ErrorCode::Conflict,
                            NameOfStore(request.store) + ": " + conflict.what() + " " +
                                std::to_string(kMostRuns) + " times: try again");
        }
    }
}

} // namespace ko::store::inner
