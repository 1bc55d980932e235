#include "arguments.h"
#include "explain.h"
#include "query.h"
#include "statistics.h"
#include "store_commands.h"
#include "text.h"
#include "type_commands.h"

#include <CLI/CLI.hpp>
#include <kostore.h>
#include <kotms.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <new>

namespace
{

using ko::store::EndOnBrokenPages;
using ko::store::Error;
using ko::store::ErrorCode;
using ko::store::ImportRequest;
using ko::store::Store;
using namespace kotm;

/// The program's exit status.
enum class Exit : int {
    Done = 0,
    Rejected = 1, ///< some rows were rejected, the others are stored
    Usage = 2,
    Damaged = 3,
    Io = 4, ///< whatever else keeps a store from being worked with
};

Exit ExitOf(ErrorCode code)
{
    switch (code) {
    case ErrorCode::Usage:
        return Exit::Usage;
    case ErrorCode::Damaged:
        return Exit::Damaged;
    default:
        return Exit::Io;
    }
}

/// Without the fifth number, that of a build.
std::string Version()
{
    const std::string version = ko_version();
    return version.substr(0, version.rfind('.'));
}

/// Builds the command line; each subcommand sets `run` when it is chosen.
class Commands
{
public:
    Commands()
    {
        m_app.require_subcommand(1);
        m_app.set_version_flag("--version", "kotm " + Version());
        AddTypes();
        AddConvert();
        AddInspect();
        AddSortKey();
        AddImport();
        AddQuery();
        AddExplain();
        AddStats();
        AddAnalyze();
        AddCheck();
        AddIndex();
        AddReindex();
        AddCompact();
        AddCopy();
        AddClean();
        AddGrant();
    }

    /// Takes the words behind the program's name.
    Exit Run(std::vector<std::string> words)
    {
        if (!words.empty())
            RequireCommand(words[0]);
        try {
            const std::string name = words.empty() ? "" : words[0];
            if (name == "convert" || name == "sortkey") {
                words = OptionsFirst(*m_app.get_subcommand(name), std::move(words));
            } else {
                std::reverse(words.begin(), words.end());
            }
            m_app.parse(std::move(words));
        } catch (const CLI::Success& wish) {
            m_app.exit(wish, std::cout, std::cerr);
            return Exit::Done;
        } catch (const CLI::ParseError& error) {
            throw Error(ErrorCode::Usage, error.what(), "Run with --help for more information.\n");
        }
        return m_run();
    }

private:
    /// A first word that is no option has to be a command.
    void RequireCommand(const std::string& word) const
    {
        std::vector<std::string> names;
        for (const CLI::App* command : m_app.get_subcommands({}))
            names.push_back(command->get_name());
        if (word.starts_with('-') || std::find(names.begin(), names.end(), word) != names.end())
            return;
        const std::string nearest = word.empty() ? "" : Nearest(word, names);
        throw Error(ErrorCode::Usage,
                    "there is no command " + Quoted(word) +
                        (nearest.empty() ? "; there are " + Listed(names)
                                         : "; did you mean " + Quoted(nearest) + "?"));
    }

    template <class Action>
    void On(CLI::App* command, Action action)
    {
        command->callback([this, action] { m_run = action; });
    }

    void AddTypes()
    {
        CLI::App* command = m_app.add_subcommand("types", "List the value types");
        command->add_flag("--json", m_json, "Write JSON");
        On(command, [this] {
            ListTypes(m_json, std::cout);
            return Exit::Done;
        });
    }

    void AddConvert()
    {
        CLI::App* command =
            m_app.add_subcommand("convert", "Turn texts into persistent bytes, in hex");
        command->add_option("TYPE", m_type, "Type name")->required();
        command->add_option("TEXT", m_texts, "Texts in the type's own format")->required();
        command->add_option("--format", m_format, "Format byte")->capture_default_str();
        On(command, [this] {
            ConvertTexts(m_type, m_texts, ReadCount("--format", m_format), std::cout);
            return Exit::Done;
        });
    }

    void AddInspect()
    {
        CLI::App* command =
            m_app.add_subcommand("inspect", "Show the value that persistent bytes stand for");
        command->add_option("TYPE", m_type, "Type name")->required();
        command->add_option("HEX", m_hex, "The bytes in hex")->required();
        CLI::Option* key = command->add_flag("--key", m_key, "The bytes are a sort key");
        command->add_option("--format", m_format, "Format byte")
            ->capture_default_str()
            ->excludes(key);
        command->add_option("--word", m_word, "Operator word of the key")
            ->capture_default_str()
            ->needs(key);
        On(command, [this] {
            if (m_key)
                InspectKey(m_type, m_hex, ReadOperatorWord("--word", m_word), std::cout);
            else
                InspectForm(m_type, m_hex, ReadCount("--format", m_format), std::cout);
            return Exit::Done;
        });
    }

    void AddSortKey()
    {
        CLI::App* command = m_app.add_subcommand("sortkey", "Turn texts into sort keys, in hex");
        command->add_option("TYPE", m_type, "Type name")->required();
        command->add_option("TEXT", m_texts, "Texts in the type's own format")->required();
        command->add_option("--word", m_word, "Operator word")->capture_default_str();
        On(command, [this] {
            ShowKeys(m_type, m_texts, ReadOperatorWord("--word", m_word), std::cout);
            return Exit::Done;
        });
    }

    void AddImport()
    {
        CLI::App* command = m_app.add_subcommand("import", "Store the rows of a CSV file");
        command->add_option("STORE", m_import.store, "Store, made where there is none")->required();
        command->add_option("CSV", m_import.csv, "CSV file with a header, in UTF-8")->required();
        command->add_option("--schema", m_import.schemaFile, "Schema of the class, in JSON")
            ->required();
        CLI::Option* rejects =
            command->add_option("--rejects", m_import.rejects, "File for rejected rows");
        On(command, [this, rejects] {
            if (rejects->count() != 0 && m_import.rejects.empty())
                throw Error(ErrorCode::Usage, "--rejects: the name of a file is missing");
            m_import.progress = isatty(STDERR_FILENO) != 0;
            EndOnBrokenPages("kotm: ");
            return Import(m_import, std::cerr).rejected == 0 ? Exit::Done : Exit::Rejected;
        });
    }

    void AddQuery()
    {
        CLI::App* command = m_app.add_subcommand("query", "Find objects and print them");
        command->add_option("STORE", m_query.store, "Store")->required();
        command->add_option("PREDICATE", m_query.predicate,
                            "Such as: speed > 200 and not state = \"Texas\"");
        command->add_option("--columns", m_columns, "Attributes to print, with commas");
        command->add_flag("--ids", m_query.ids, "Print the id of each object first");
        CLI::Option* order = command->add_option("--order", m_query.order, "Attribute to sort by");
        command->add_flag("--desc", m_query.descending, "Largest first")->needs(order);
        command->add_option("--limit", m_limit, "At most so many rows");
        command->add_option("--print", m_prints, "Print format of an attribute: ATTRIBUTE=FORMAT")
            ->allow_extra_args(false);
        command->add_option("--output", m_output, "table, csv or json")->capture_default_str();
        command->add_flag("--count", m_query.count, "Print the number of objects alone");
        On(command, [this] {
            for (const std::string& print : m_prints) {
                auto [attribute, format] = ReadPrint(print);
                m_query.prints[std::move(attribute)] = std::move(format);
            }
            if (m_columns)
                m_query.columns = ReadNames("--columns", *m_columns);
            if (m_limit)
                m_query.limit = ReadCount("--limit", *m_limit);
            static constexpr RowWriter::Kind kKinds[] = {
                RowWriter::Kind::Table, RowWriter::Kind::Csv, RowWriter::Kind::Json};
            m_query.output = kKinds[ReadWord("--output", m_output, {"table", "csv", "json"})];
            m_query.toTerminal = isatty(STDOUT_FILENO) != 0;
            EndOnBrokenPages("kotm: ");
            Query(m_query, std::cout);
            return Exit::Done;
        });
    }

    void AddExplain()
    {
        CLI::App* command =
            m_app.add_subcommand("explain", "Show how a query would find its objects");
        command->add_option("STORE", m_explain.store, "Store")->required();
        command->add_option("PREDICATE", m_explain.query.predicate, "As for query")->required();
        CLI::Option* order =
            command->add_option("--order", m_explain.query.order, "Attribute to sort by");
        command->add_flag("--desc", m_explain.query.descending, "Largest first")->needs(order);
        command->add_option("--limit", m_limit, "At most so many rows");
        command->add_option("--output", m_output, "table or json")->capture_default_str();
        On(command, [this] {
            if (m_limit)
                m_explain.query.limit = ReadCount("--limit", *m_limit);
            m_explain.json = ReadWord("--output", m_output, {"table", "json"}) == 1;
            EndOnBrokenPages("kotm: ");
            Explain(m_explain, std::cout);
            return Exit::Done;
        });
    }

    void AddStats()
    {
        CLI::App* command =
            m_app.add_subcommand("stats", "Show what is known of the values of attributes");
        command->add_option("STORE", m_statistics.store, "Store")->required();
        command->add_option("ATTRIBUTE", m_statistics.attribute,
                            "One attribute, with its common values and the histogram");
        command->add_option("--output", m_output, "table or json")->capture_default_str();
        On(command, [this] {
            m_statistics.json = ReadWord("--output", m_output, {"table", "json"}) == 1;
            winsize size{};
            if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0)
                m_statistics.width = size.ws_col;
            EndOnBrokenPages();
            ShowStatistics(m_statistics, std::cout);
            return Exit::Done;
        });
    }

    void AddAnalyze()
    {
        CLI::App* command = m_app.add_subcommand(
            "analyze", "Make the statistics of a store anew, from its objects");
        command->add_option("STORE", m_changed, "Store")->required();
        On(command, [this] {
            EndOnBrokenPages();
            Analyze(m_changed, std::cerr);
            return Exit::Done;
        });
    }

    void AddCheck()
    {
        CLI::App* command = m_app.add_subcommand("check", "Look for damage in a store");
        command->add_option("STORE", m_checked, "Store")->required();
        On(command, [this] {
            EndOnBrokenPages("kotm: ");
            return Check(m_checked, std::cout) ? Exit::Done : Exit::Damaged;
        });
    }

    void AddIndex()
    {
        CLI::App* command = m_app.add_subcommand("index", "Add or drop the index on an attribute");
        command->add_option("STORE", m_changed, "Store")->required();
        command->add_option("ACTION", m_action, "add or drop")->required();
        command->add_option("ATTRIBUTE", m_attribute, "Attribute")->required();
        On(command, [this] {
            const bool drops = ReadWord("ACTION", m_action, {"add", "drop"}) == 1;
            EndOnBrokenPages("kotm: ");
            ChangeIndex(m_changed, m_attribute, drops);
            return Exit::Done;
        });
    }

    void AddReindex()
    {
        CLI::App* command = m_app.add_subcommand(
            "reindex", "Make all indexes anew, under the order of this program");
        command->add_option("STORE", m_changed, "Store")->required();
        On(command, [this] {
            EndOnBrokenPages("kotm: ");
            Store::Open(m_changed, ko::store::Mode::Grow).Reindex();
            return Exit::Done;
        });
    }

    void AddCopy()
    {
        CLI::App* command = m_app.add_subcommand(
            "copy", "Copy a store to another address, between files and databases");
        command->add_option("FROM", m_checked, "Store")->required();
        command->add_option("TO", m_changed, "Address where there is none")->required();
        On(command, [this] {
            EndOnBrokenPages("kotm: ");
            const std::uint64_t objects = ko::store::Copy(m_checked, m_changed);
            std::cerr << "objects copied " << objects << '\n';
            return Exit::Done;
        });
    }

    void AddCompact()
    {
        CLI::App* command =
            m_app.add_subcommand("compact", "Join the small rows that changes leave in indexes");
        command->add_option("STORE", m_changed, "Store")->required();
        On(command, [this] {
            EndOnBrokenPages("kotm: ");
            const std::uint64_t rows = Store::Open(m_changed, ko::store::Mode::Change).Compact();
            std::cerr << "index rows joined " << rows << '\n';
            return Exit::Done;
        });
    }

    void AddClean()
    {
        CLI::App* command =
            m_app.add_subcommand("clean", "Clear away what killed imports left behind");
        command->add_option("STORE", m_changed, "Store")->required();
        On(command, [this] {
            const std::size_t removed = ko::store::Clean(m_changed);
            std::cerr << "leftovers removed " << removed << '\n';
            return Exit::Done;
        });
    }

    void AddGrant()
    {
        CLI::App* command = m_app.add_subcommand(
            "grant", "Print the statements that let roles of a database use a store");
        command->add_option("STORE", m_changed, "Store in a database")->required();
        command->add_option("--reader", m_reader, "Role that may read it");
        command->add_option("--writer", m_writer, "Role that may change its objects");
        On(command, [this] {
            if (m_reader.empty() && m_writer.empty())
                throw Error(ErrorCode::Usage, "grant: --reader or --writer is missing");
            std::cout << ko::store::GrantStatements(m_changed, m_reader, m_writer);
            return Exit::Done;
        });
    }

    CLI::App m_app{"Values of the type manager, and stores of objects made of them", "kotm"};
    std::function<Exit()> m_run;
    bool m_json = false;
    std::string m_type;
    std::vector<std::string> m_texts;
    std::string m_hex;
    std::string m_format = std::to_string(KoFMT_LITTLE);
    std::string m_word = "0x10";
    bool m_key = false;
    ImportRequest m_import;
    QueryRequest m_query;
    ExplainRequest m_explain;
    StatisticsRequest m_statistics;
    std::vector<std::string> m_prints;
    std::optional<std::string> m_columns;
    std::optional<std::string> m_limit;
    std::string m_output = "table";
    std::string m_checked;
    std::string m_changed; ///< a store
    std::string m_action;
    std::string m_attribute;
    std::string m_reader; ///< a role
    std::string m_writer;
};

/// The library's context, for as long as the program runs.
struct Context {
    Context() { ___KoTypemgrContext(1); }
    ~Context() { ___KoTypemgrContext(0); }
};

int Guarded(int argc, char** argv)
{
    const auto fail = [](ErrorCode code, const char* message, const std::string& lines = {}) {
        std::cerr << "kotm: " << ko::store::Visible(message) << '\n' << lines;
        return static_cast<int>(ExitOf(code));
    };
    try {
        const Context context;
        bool hidden;
        std::vector<std::string> words = TakeWords(argc, argv, hidden);
        if (hidden)
            std::cerr << "kotm: other programs may have seen the password of the address: use "
                         "PGPASSWORD or a password file\n";
        const Exit status = Commands().Run(std::move(words));
        std::cout.flush();
        if (!std::cout)
            return fail(ErrorCode::Io, "standard output cannot be written");
        return static_cast<int>(status);
    } catch (const Error& failure) {
        std::cout.flush();
        return fail(failure.Code(), failure.what(), failure.Lines());
    } catch (const std::bad_alloc&) {
        return fail(ErrorCode::Io, "no memory");
    } catch (const std::exception& error) {
        return fail(ErrorCode::Io, error.what());
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_DFL);
    std::ios::sync_with_stdio(false);
    return Guarded(argc, argv);
}
