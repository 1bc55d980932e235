#ifndef KO_TEST_SUPPORT_SOCKET_PROXY_H
#define KO_TEST_SUPPORT_SOCKET_PROXY_H

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
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
        Reply,     ///< the client gets another answer, the server nothing
        ReplyAfter ///< the client gets another answer than that of the server
    };
    /// An answer to a batch of statements. After one that is `fatal` the connection ends.
    struct Answer {
        std::string bytes;
        bool fatal = false;
    };
    static Answer Refusal(const std::string& state, bool fatal = false)
    {
        const std::string fields = std::string(fatal ? "SFATAL" : "SERROR") + '\0' +
                                   (fatal ? "VFATAL" : "VERROR") + '\0' + "C" + state + '\0' +
                                   "Mthe server refuses" + '\0' + "Dthe row was (secret)" + '\0';
        return {Message('E', fields + '\0') + (fatal ? "" : Message('Z', "I")), fatal};
    }
    /// One row of one text.
    static Answer Text(const std::string& text)
    {
        const auto number = [](std::size_t value, int bytes) {
            std::string written;
            for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
                written += static_cast<char>(value >> shift);
            return written;
        };
        const std::string column = number(1, 2) + "text" + '\0' + number(0, 6) + number(25, 4) +
                                   number(0xffff, 2) + number(0, 4) + number(1, 2);
        return {Message('1', "") + Message('2', "") + Message('T', column) +
                Message('D', number(1, 2) + number(text.size(), 4) + text) +
                Message('C', std::string("SELECT 1") + '\0') + Message('Z', "I")};
    }

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
    /// Harms the next piece that has a text in it, after a call.
    void PlanAt(const std::string& text, Harm harm, std::function<void()> call = {})
    {
        const std::lock_guard guard(m_mutex);
        m_call = std::move(call);
        m_harm = harm;
        m_text = text;
        m_times = 1;
    }
    /// Answers the next batches that have a text in them, so many of them.
    void PlanReply(const std::string& text, Answer answer, int times = 1, Harm harm = Harm::Reply)
    {
        const std::lock_guard guard(m_mutex);
        m_harm = harm;
        m_text = text;
        m_times = times;
        m_answer = std::move(answer);
    }
    /// How many planned answers were given.
    int Replies() const { return m_replies; }
    bool HasHarmed() const { return m_left <= 0; }
    /// How often a client has sent something after the server had answered all.
    int Trips() const { return m_trips; }

private:
    /// What comes next is the end of a connection, which nobody waits for.
    static bool IsLeaving(int client)
    {
        char first = 0;
        return recv(client, &first, 1, MSG_PEEK | MSG_DONTWAIT) <= 0 || first == 'X';
    }

    static constexpr std::string_view kSync{"S\0\0\0\4", 5};

    static std::string Message(char type, const std::string& body)
    {
        std::string size;
        for (int shift = 24; shift >= 0; shift -= 8)
            size += static_cast<char>((body.size() + 4) >> shift);
        return type + size + body;
    }
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
                m_trips += answered && !IsLeaving(client) ? 1 : 0;
                answered = false;
                if (IsPlanned(client)) {
                    open = Do(client, server);
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
            if (--m_times <= 0)
                m_text.clear();
            return true;
        }
        return --m_left == 0;
    }
    /// Returns whether the connection goes on.
    bool Do(int client, int server)
    {
        if (const auto call = std::exchange(m_call, {}))
            call();
        if (m_harm == Harm::CutBefore)
            return false;
        if (m_harm == Harm::Reply || m_harm == Harm::ReplyAfter)
            return Reply(client, server);
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
        return false;
    }
    /// Batches are small enough here to come and go in one piece, a few in one as well.
    bool Reply(int client, int server)
    {
        char piece[1 << 16];
        char unread[1 << 16];
        const ssize_t size = read(client, piece, sizeof piece);
        if (m_harm == Harm::ReplyAfter &&
            (send(server, piece, static_cast<std::size_t>(size), MSG_NOSIGNAL) != size ||
             read(server, unread, sizeof unread) <= 0))
            return false;
        const std::lock_guard guard(m_mutex);
        std::string answers = m_answer.bytes;
        const std::string_view batches(piece, static_cast<std::size_t>(size));
        for (auto at = batches.find(kSync); at != std::string_view::npos && !m_answer.fatal;) {
            at = batches.find(kSync, at + 1);
            answers += at == std::string_view::npos ? "" : m_answer.bytes;
        }
        ++m_replies;
        const auto sent = send(client, answers.data(), answers.size(), MSG_NOSIGNAL);
        return !m_answer.fatal && sent > 0;
    }

    const std::string m_server;
    std::string m_folder;
    int m_listener = -1;
    std::atomic<bool> m_ended{false};
    std::atomic<int> m_trips{0};
    std::atomic<int> m_replies{0};
    std::atomic<int> m_left{1 << 30};
    std::atomic<Harm> m_harm{};
    std::mutex m_mutex;
    std::string m_text;
    int m_times = 0;
    Answer m_answer;
    std::function<void()> m_call;
    std::vector<std::thread> m_threads; ///< of the first, which accepts
};

#endif
