#ifndef KO_TEST_SUPPORT_POSTGRES_SERVER_H
#define KO_TEST_SUPPORT_POSTGRES_SERVER_H

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <unistd.h>

/// A PostgreSQL server of the test's own: its files in a folder that goes with it, a socket there
/// and no port. Root runs it as the user postgres.
class PostgresServer
{
public:
    PostgresServer()
    {
        namespace fs = std::filesystem;
        fs::path bin;
        for (const char* const folder : {"/usr/lib/postgresql", "/usr/local/lib/postgresql"}) {
            std::error_code ignored;
            for (const auto& entry : fs::directory_iterator(folder, ignored)) {
                if (fs::exists(entry.path() / "bin/initdb"))
                    bin = std::max(bin, entry.path() / "bin");
            }
        }
        if (bin.empty()) {
            m_whyNot = "PostgreSQL is not installed here";
            return;
        }
        m_bin = bin.string() + "/";
        std::string name = "/tmp/kopg-XXXXXX"; // sockets have short paths
        m_folder = mkdtemp(name.data());
        if (geteuid() == 0)
            std::system(("chown postgres " + m_folder).c_str());
        if (!Run("initdb -A trust -U postgres -E UTF8 --no-sync -D " + Data()) || !Start())
            m_whyNot = "a server of PostgreSQL could not be started in " + m_folder;
    }
    ~PostgresServer()
    {
        if (!m_whyNot.empty())
            return;
        Run("pg_ctl -D " + Data() + " -m immediate -w stop");
        std::filesystem::remove_all(m_folder);
    }
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    /// One for the whole test program.
    static PostgresServer& Shared()
    {
        static PostgresServer server;
        return server;
    }
    /// Why there is none, or empty.
    const std::string& WhyNot() const { return m_whyNot; }

    /// `more`: further parameters of the URL, each after "&".
    std::string Address(const std::string& store, const std::string& user = "postgres",
                        const std::string& host = "", const std::string& more = "") const
    {
        return "postgresql://" + user +
               "@/postgres?connect_timeout=2&host=" + (host.empty() ? m_folder : host) + more +
               "#" + store;
    }
    /// Of its socket, and the host that reaches it.
    const std::string& Folder() const { return m_folder; }
    std::string Socket() const { return m_folder + "/.s.PGSQL.5432"; }
    static std::string NewName()
    {
        static std::atomic<int> last{0};
        return "store " + std::to_string(getpid()) + "." + std::to_string(++last);
    }

    bool Start()
    {
        // A crash of the machine is not what the tests are about.
        return Run("pg_ctl -D " + Data() + " -w -t 120 -l " + m_folder +
                   "/log -o \"-c listen_addresses='' -c fsync=off -c max_connections=60 "
                   "-c unix_socket_directories=" +
                   m_folder + "\" start");
    }
    /// Kills the server and all that it started, and waits for their end.
    void Kill() const
    {
        std::ifstream file(Data() + "/postmaster.pid");
        pid_t server = 0;
        file >> server;
        file.close();
        kill(server, SIGKILL);
        // Its children hold on to the shared memory until they notice.
        for (int i = 0; i < 1000 && HasChildren(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        // Its number may still be taken, by what nobody has waited for.
        std::filesystem::remove(Data() + "/postmaster.pid");
        std::filesystem::remove(Socket() + ".lock");
    }
    /// What a statement answers, without column names and alignment.
    std::string Ask(const std::string& statement) const
    {
        const std::string out = m_folder + "/answer";
        std::ofstream(m_folder + "/statement") << statement;
        std::system((m_bin + "psql -X -q -A -t -h " + m_folder + " -U postgres -f " + m_folder +
                     "/statement postgres >" + out + " 2>&1")
                        .c_str());
        std::ifstream file(out);
        std::string answer(std::istreambuf_iterator<char>(file), {});
        while (!answer.empty() && answer.back() == '\n')
            answer.pop_back();
        return answer;
    }

private:
    std::string Data() const { return m_folder + "/data"; }
    bool Run(const std::string& command) const
    {
        const std::string as = geteuid() == 0 ? "runuser -u postgres -- " : "";
        return std::system(("cd / && " + as + m_bin + command + " >/dev/null 2>&1").c_str()) == 0;
    }
    /// Its children work in the folder of its files.
    bool HasChildren() const
    {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
            if (std::filesystem::read_symlink(entry.path() / "cwd", ignored) == Data())
                return true;
        }
        return false;
    }

    std::string m_bin;
    std::string m_folder;
    std::string m_whyNot;
};

#endif
