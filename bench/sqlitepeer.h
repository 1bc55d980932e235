#ifndef KO_BENCH_SQLITEPEER_H
#define KO_BENCH_SQLITEPEER_H

// What benchmarks of stores share: SQLite, and a place for the files.

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

[[noreturn]] inline void Fail(const std::string& what)
{
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(1);
}

/// The folder of the run's files; it goes with the process.
struct Folder {
    std::filesystem::path path = std::filesystem::temp_directory_path() /
                                 ("kotm-bench-" + std::to_string(std::random_device()()));
    Folder() { std::filesystem::create_directory(path); }
    ~Folder() { std::filesystem::remove_all(path); }
    std::string operator/(const char* name) const { return (path / name).string(); }
};

class Database
{
public:
    explicit Database(const std::string& path)
    {
        Check(sqlite3_open(path.c_str(), &m_db));
        Run("PRAGMA cache_size = -524288"); // the whole database, as the store lies in its map
    }
    ~Database() { sqlite3_close(m_db); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void Run(const std::string& sql)
    {
        Check(sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr));
    }

    sqlite3_stmt* Prepare(const std::string& sql)
    {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr));
        return statement;
    }

private:
    void Check(int code)
    {
        if (code != SQLITE_OK)
            Fail(sqlite3_errmsg(m_db));
    }
    sqlite3* m_db = nullptr;
};

#endif
