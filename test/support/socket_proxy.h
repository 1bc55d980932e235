#ifndef KO_TEST_SUPPORT_SOCKET_PROXY_H
#define KO_TEST_SUPPORT_SOCKET_PROXY_H

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

/// Stands between clients and the socket of a server: counts round trips, and does harm to one of
/// the pieces that clients send.
class SocketProxy
{
public:
    enum class Harm {
        CutBefore, ///< the connection ends, the server gets nothing
        CutAfter,  ///< the server gets it, and the client no answer
        HoldBack,  ///< the client waits; the server gets it when the client has gone away
    };

    explicit SocketProxy(std::string server) : m_server(std::move(server))
    {
        std::string name = "/tmp/kopx-XXXXXX";
        m_folder = mkdtemp(name.data());
        m_listener = Socket(m_folder + "/.s.PGSQL.5432", bind);
        listen(m_listener, 20);
        // A server may be a client too, and another user.
        chmod(m_folder.c_str(), 0755);
        chmod((m_folder + "/.s.PGSQL.5432").c_str(), 0777);
        m_threads.emplace_back([this] { Accept(); });
    }
    ~SocketProxy()
    {
        m_ended = true;
        for (std::size_t i = 0; i < m_threads.size(); ++i)
            m_threads[i].join();
        close(m_listener);
        std::filesystem::remove_all(m_folder);
    }
    SocketProxy(const SocketProxy&) = delete;
    SocketProxy& operator=(const SocketProxy&) = delete;

    const std::string& Folder() const { return m_folder; }
    /// Harms the piece of that number from now on, counted from 1.
    void Plan(int piece, Harm harm)
    {
        m_harm = harm;
        m_left = piece;
    }
    /// Harms the next piece that has a text in it.
    void PlanAt(const std::string& text, Harm harm)
    {
        const std::lock_guard guard(m_mutex);
        m_harm = harm;
        m_text = text;
    }
    bool HasHarmed() const { return m_left <= 0; }
    /// How often a client has sent something after the server had answered all.
    int Trips() const { return m_trips; }

private:
    template <class Call>
    static int Socket(const std::string& path, Call call)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (call(made, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
            return made;
        close(made);
        return -1;
    }
    void Accept()
    {
        while (!m_ended) {
            pollfd waited{m_listener, POLLIN, 0};
            if (poll(&waited, 1, 20) != 1)
                continue;
            const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            m_threads.emplace_back([this, client] { Serve(client); });
        }
    }
    /// `answers`: set where the last message is that the server is ready for more.
    static bool Pass(int from, int to, bool* answers = nullptr)
    {
        constexpr std::string_view kReady("Z\0\0\0\5", 5);
        char bytes[1 << 16];
        const ssize_t size = read(from, bytes, sizeof bytes);
        if (answers != nullptr && size >= 6)
            *answers = std::string_view(bytes + size - 6, 5) == kReady;
        for (ssize_t sent = 0; sent < size;) {
            const ssize_t more =
                send(to, bytes + sent, static_cast<std::size_t>(size - sent), MSG_NOSIGNAL);
            if (more <= 0)
                return false;
            sent += more;
        }
        return size > 0;
    }
    void Serve(int client)
    {
        const int server = Socket(m_server, connect);
        bool answered = true;
        pollfd both[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
        for (bool open = server >= 0; open && !m_ended;) {
            if (poll(both, 2, 20) <= 0)
                continue;
            if (both[1].revents != 0) {
                open = Pass(server, client, &answered);
            } else if (both[0].revents != 0) {
                m_trips += answered ? 1 : 0;
                answered = false;
                if (IsPlanned(client)) {
                    Do(client, server);
                    open = false;
                } else {
                    open = Pass(client, server);
                }
            }
        }
        close(client);
        if (server >= 0)
            close(server);
    }
    bool IsPlanned(int client)
    {
        std::string piece(1 << 16, '\0');
        const ssize_t size = recv(client, piece.data(), piece.size(), MSG_PEEK);
        const std::lock_guard guard(m_mutex);
        if (size > 0 && !m_text.empty() && piece.find(m_text) < static_cast<std::size_t>(size)) {
            m_text.clear();
            return true;
        }
        return --m_left == 0;
    }
    void Do(int client, int server)
    {
        if (m_harm == Harm::CutBefore)
            return;
        pollfd gone{client, POLLRDHUP, 0};
        while (m_harm == Harm::HoldBack && !m_ended && poll(&gone, 1, 20) == 0)
            continue;
        if (m_harm == Harm::HoldBack)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        Pass(client, server);
        // Until the server has worked it off.
        char answer[1 << 16];
        pollfd waited{server, POLLIN, 0};
        while (poll(&waited, 1, 50) == 1 && read(server, answer, sizeof answer) > 0)
            continue;
    }

    const std::string m_server;
    std::string m_folder;
    int m_listener = -1;
    std::atomic<bool> m_ended{false};
    std::atomic<int> m_trips{0};
    std::atomic<int> m_left{1 << 30};
    std::atomic<Harm> m_harm{};
    std::mutex m_mutex;
    std::string m_text;
    std::vector<std::thread> m_threads; ///< of the first, which accepts
};

#endif
