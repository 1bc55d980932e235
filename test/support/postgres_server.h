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
#include <vector>

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
        m_whyNot = Run("initdb -A trust -U postgres -E UTF8 --no-sync -D " + Data())
                       ? Start()
                       : "a server of PostgreSQL could not be set up in " + m_folder;
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

    /// Starts it again after it was killed. Returns why it could not, with the end of its log, or
    /// nothing.
    std::string Start()
    {
        // A crash of the machine is not what the tests are about.
        const std::string command =
            "pg_ctl -D " + Data() + " -w -t 120 -l " + Log() +
            " -o \"-c listen_addresses='' -c fsync=off -c max_connections=60 "
            "-c unix_socket_directories=" +
            m_folder + "\" start";
        // What somebody else is just looking at lets go of the shared memory only after it has
        // ended, for all that can be seen.
        for (int attempts = 0;; ++attempts) {
            std::filesystem::remove(Log());
            if (Run(command))
                return "";
            const std::string log = LogEnd();
            if (attempts == 50 || log.find("shared memory block") == std::string::npos)
                return "a server of PostgreSQL could not be started in " + m_folder + ":\n" + log;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    /// Kills the server and all that it started, and waits for their end. Nothing else may start
    /// it meanwhile.
    void Kill() const
    {
        // The server before its children, or it would be told of their end and start others. One
        // that it makes at this moment may be missed by one look, but not by the next one.
        std::ifstream file(Data() + "/postmaster.pid");
        pid_t server = 0;
        if (file >> server)
            kill(server, SIGKILL);
        for (int looks = 0, nobody = 0; looks < 1000 && nobody < 2; ++looks) {
            const std::vector<pid_t> left = AtWork();
            nobody = left.empty() ? nobody + 1 : 0;
            for (const pid_t process : left)
                kill(process, SIGKILL);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
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
    std::string Log() const { return m_folder + "/log"; }
    std::string LogEnd() const
    {
        std::ifstream file(Log());
        const std::string log(std::istreambuf_iterator<char>(file), {});
        return log.size() > 2000 ? log.substr(log.size() - 2000) : log;
    }
    /// The server and all that it started work in the folder of its files.
    std::vector<pid_t> AtWork() const
    {
        std::vector<pid_t> found;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
            if (std::filesystem::read_symlink(entry.path() / "cwd", ignored) != Data())
                continue;
            if (const pid_t process = std::atoi(entry.path().filename().c_str()); process > 0)
                found.push_back(process);
        }
        return found;
    }

    std::string m_bin;
    std::string m_folder;
    std::string m_whyNot;
};

#endif
