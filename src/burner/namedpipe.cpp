#include "burner/namedpipe.h"

#include "foundation/debug.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace
{
// How often a wait with a condition asks it.
constexpr int ConnectPollMs = 50;
// Each direction's socket buffer. The kernel caps it (net.core.wmem_max); a message must fit in it
// whole, as one record.
constexpr int SocketBuffer = 4 << 20;

bool MakeAddress(const std::string& path, sockaddr_un& address)
{
    std::memset(&address, 0, sizeof(address));
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path))
    {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

void SetBuffers(int fd)
{
    int size = SocketBuffer;
    ::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
}

bool IsFolder(const char* path)
{
    struct stat st;
    return path != nullptr && *path != '\0' && ::stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}
} // namespace

// Marks the pipe busy for one operation; a second operation at the same time fails at once.
class NamedPipe::InFlight
{
public:
    explicit InFlight(NamedPipe& pipe) : m_pipe(pipe), m_taken(!pipe.m_busy.exchange(true)) {}
    ~InFlight()
    {
        if (m_taken)
            m_pipe.m_busy = false;
    }
    InFlight(const InFlight&) = delete;
    InFlight& operator=(const InFlight&) = delete;
    bool Taken() const { return m_taken; }

private:
    NamedPipe& m_pipe;
    bool m_taken;
};

std::string NamedPipe::LocalPath(const char* name)
{
    static std::atomic<uint32> s_counter{0};
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    std::string folder = IsFolder(runtime) ? runtime : "/tmp";
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return folder + "/" + (name != nullptr ? name : PipeName) + "-" + std::to_string(::getpid()) + "-" +
           std::to_string(s_counter++);
}

std::string NamedPipe::PathFromEnvironment()
{
    const char* path = std::getenv(EnvironmentVariable);
    return path != nullptr ? path : "";
}

NamedPipe::NamedPipe(std::string path, Role role) : m_path(std::move(path)), m_role(role) {}

NamedPipe::~NamedPipe()
{
    Disconnect();
    CloseAll();
}

void NamedPipe::Disconnect()
{
    // Drain what the other end left, so that it is not blocked on a full pipe while it goes down.
    if (m_fd >= 0)
    {
        uint8 block[BufferSize];
        while (::recv(m_fd, block, sizeof(block), MSG_DONTWAIT) > 0)
        {
        }
        ::shutdown(m_fd, SHUT_RDWR);
    }
    m_bConnected = false;
    m_cPending.clear();
    m_hasPending = false;
}

void NamedPipe::CloseAll()
{
    if (m_fd >= 0)
        ::close(m_fd);
    if (m_listenFd >= 0)
        ::close(m_listenFd);
    m_fd = m_listenFd = -1;
    if (m_bound)
        ::unlink(m_path.c_str());
    m_bound = false;
    m_bConnected = m_bConnecting = false;
    m_cPending.clear();
    m_hasPending = false;
}

bool NamedPipe::Create()
{
    if (!dbAssert(m_fd < 0 && m_listenFd < 0))
        return false;
    sockaddr_un address;
    if (!MakeAddress(m_path, address))
        return false;
    const int fd = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;

    if (m_role == Server)
    {
        // A socket file of this name can only be left from a process that had our id and died.
        ::unlink(m_path.c_str());
        if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
        {
            const int error = errno;
            ::close(fd);
            errno = error;
            return false;
        }
        m_bound = true;
        m_listenFd = fd;
        if (::listen(fd, 255) != 0)
        {
            const int error = errno;
            CloseAll();
            errno = error;
            return false;
        }
        return true;
    }

    // A busy server (its queue full) is waited for, as long as BusyWaitMs.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(BusyWaitMs);
    while (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
    {
        const int error = errno;
        if (error == EINTR)
            continue;
        if (error != EAGAIN || std::chrono::steady_clock::now() >= deadline)
        {
            ::close(fd);
            errno = error;
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(ConnectPollMs));
    }
    SetBuffers(fd);
    m_fd = fd;
    m_bConnected = true;
    return true;
}

bool NamedPipe::Connect(const std::function<bool()>& keepWaiting)
{
    InFlight flight(*this);
    if (!flight.Taken())
        return false;
    if (m_bConnected)
        return true;
    if (m_role != Server || m_listenFd < 0)
        return false;

    m_bConnecting = true;
    for (;;)
    {
        pollfd p = {m_listenFd, POLLIN, 0};
        const int ready = ::poll(&p, 1, keepWaiting ? ConnectPollMs : -1);
        if (ready < 0 && errno != EINTR)
            break;
        if (ready > 0)
        {
            const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
            if (fd >= 0)
            {
                SetBuffers(fd);
                m_fd = fd;
                m_bConnected = true;
                m_bConnecting = false;
                // One client per pipe: nobody else may connect, and the name is not left behind.
                ::close(m_listenFd);
                m_listenFd = -1;
                ::unlink(m_path.c_str());
                m_bound = false;
                return true;
            }
            if (errno != EINTR && errno != EAGAIN && errno != ECONNABORTED)
                break;
        }
        if (keepWaiting && !keepWaiting())
            break;
    }
    m_bConnecting = false;
    return false;
}

bool NamedPipe::Peek(bool& hasData)
{
    hasData = false;
    InFlight flight(*this);
    if (!flight.Taken() || m_fd < 0)
        return false;
    if (m_hasPending)
    {
        hasData = true;
        return true;
    }
    pollfd p = {m_fd, POLLIN, 0};
    if (::poll(&p, 1, 0) < 0)
        return errno == EINTR;
    if ((p.revents & POLLIN) != 0)
    {
        const ssize_t size = ::recv(m_fd, nullptr, 0, MSG_PEEK | MSG_TRUNC | MSG_DONTWAIT);
        if (size > 0)
        {
            hasData = true;
            return true;
        }
        if (size < 0)
            return errno == EAGAIN || errno == EINTR;
        // 0: the other end has closed, and nothing is left.
        return false;
    }
    return (p.revents & (POLLHUP | POLLERR | POLLNVAL)) == 0;
}

bool NamedPipe::ReceivePending(bool wait)
{
    ssize_t size;
    do
        size = ::recv(m_fd, nullptr, 0, MSG_PEEK | MSG_TRUNC | (wait ? 0 : MSG_DONTWAIT));
    while (size < 0 && errno == EINTR);
    if (size <= 0)
        return false;
    m_cPending.resize(size_t(size));
    ssize_t got;
    do
        got = ::recv(m_fd, m_cPending.data(), m_cPending.size(), 0);
    while (got < 0 && errno == EINTR);
    if (got != size)
        return false;
    m_pendingPos = 0;
    m_hasPending = true;
    return true;
}

bool NamedPipe::Write(const void* data, uint32 length)
{
    InFlight flight(*this);
    if (!flight.Taken() || m_fd < 0 || data == nullptr)
        return false;
    ssize_t sent;
    do
        sent = ::send(m_fd, data, length, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    if (sent < 0)
        return false;
    const uint32 bytes = uint32(sent);
    return dbAssert(length == bytes);
}

bool NamedPipe::Read(void* buffer, uint32 length, uint32& read, bool& more)
{
    read = 0;
    more = false;
    InFlight flight(*this);
    if (!flight.Taken() || m_fd < 0 || buffer == nullptr)
        return false;
    if (!m_hasPending && !ReceivePending(true))
        return false;
    const size_t left = m_cPending.size() - m_pendingPos;
    const uint32 n = uint32(std::min<size_t>(left, length));
    std::memcpy(buffer, m_cPending.data() + m_pendingPos, n);
    m_pendingPos += n;
    read = n;
    more = m_pendingPos < m_cPending.size();
    if (!more)
    {
        m_cPending.clear();
        m_hasPending = false;
    }
    else if (!dbAssert(read == length))
        return false;
    return true;
}
