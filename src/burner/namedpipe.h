// NamedPipe: the duplex, message-based pipe between the tool (server) and the burner program
// (client). On this platform it is a Unix-domain socket of type SOCK_SEQPACKET, which keeps message
// boundaries. Reads follow the message read mode of a pipe: a read shorter than the message takes
// the first bytes and says that more data follows; the next reads continue the same message.
//
// The socket lives in the runtime folder ($XDG_RUNTIME_DIR, else /tmp) under a name made unique per
// tool process and pipe: "BurnerPipe-<pid>-<n>". The tool hands the full path to the burner in the
// environment variable TQ7Z_BURNER_PIPE (NamedPipe::EnvironmentVariable).
//
// One operation at a time: a call made while another is in flight on the same pipe fails at once.
#pragma once

#include "foundation/types.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

class NamedPipe
{
public:
    enum Role
    {
        Server = 0,
        Client = 1,
    };

    // The name of the burner's pipe, made unique by LocalPath.
    static constexpr const char* PipeName = "BurnerPipe";
    // The variable through which the burner program learns the socket's path.
    static constexpr const char* EnvironmentVariable = "TQ7Z_BURNER_PIPE";
    // The size of a read block and of each direction's buffer.
    static constexpr uint32 BufferSize = 1024;
    // How long a client waits for a busy server before it gives up.
    static constexpr int BusyWaitMs = 2000;

    // The socket path of `name` for this process: runtime folder, name, process id and a counter, so
    // that no two pipes of any processes share a path.
    static std::string LocalPath(const char* name);
    // The path given in EnvironmentVariable; empty when it is not set.
    static std::string PathFromEnvironment();

    NamedPipe(std::string path, Role role);
    // Disconnects and closes; a server removes its socket file.
    ~NamedPipe();
    NamedPipe(const NamedPipe&) = delete;
    NamedPipe& operator=(const NamedPipe&) = delete;

    // Server: makes the socket and listens. Client: connects, retrying for BusyWaitMs while the
    // server is busy or not yet listening. False on failure (errno tells why).
    bool Create();

    // Server: waits for the client. With no `keepWaiting` the wait has no limit; otherwise it is
    // asked every 50 ms and a false answer ends the wait with failure. An already connected pipe is
    // connected at once. Client: true when Create succeeded.
    bool Connect(const std::function<bool()>& keepWaiting = {});

    // `hasData` tells whether a message (or the rest of one) waits. False when the pipe is broken:
    // the other end has gone and nothing is left to read.
    bool Peek(bool& hasData);

    // Sends `length` bytes as one message and waits until the pipe has taken all of them.
    bool Write(const void* data, uint32 length);

    // Reads up to `length` bytes of the current message, waiting for one when none has begun.
    // `more` says that the message goes on; then `read` equals `length`. False when the pipe is
    // broken or the other end has closed it.
    bool Read(void* buffer, uint32 length, uint32& read, bool& more);

    // Drains what is readable and ends the connection, so that the other end sees the pipe close.
    void Disconnect();

    const std::string& GetPath() const { return m_path; }
    Role GetRole() const { return m_role; }
    bool IsConnected() const { return m_bConnected; }

private:
    class InFlight;
    // Receives the next whole message into m_cPending; false on failure or end of the stream.
    bool ReceivePending(bool wait);
    void CloseAll();

    std::string m_path;
    Role m_role;
    int m_listenFd = -1;
    int m_fd = -1;
    bool m_bConnected = false;
    bool m_bConnecting = false;
    bool m_bound = false;
    // The part of the current message that the reader has not taken yet.
    std::vector<uint8> m_cPending;
    size_t m_pendingPos = 0;
    bool m_hasPending = false;
    std::atomic<bool> m_busy{false};
};
