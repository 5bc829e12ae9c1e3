// One connection of the load generator.
#pragma once

#include <string>
#include <string_view>

#include "Loop.h"
#include "Source.h"

class Link;

// Whose connections these are.
class LinkOwner {
  public:
    // Messages can be sent from now on.
    virtual void OnOpen(Link& link) = 0;
    // A whole message, header included; valid during the call.
    virtual void OnMessage(Link& link, uint16_t type, std::string_view message) = 0;
    // Everything one read brought was delivered: the time to flush what it led to.
    virtual void OnDrained(Link& link) = 0;
    // Could not be opened, or was closed by the server; why is a short constant text. The link
    // may be opened again, from a timer.
    virtual void OnLost(Link& link, const char* why) = 0;

  protected:
    ~LinkOwner() = default;
};

// Sends and receives messages over TCP or, one message per frame, over WebSocket. Keeps buffers
// only while something is incomplete, so that idle connections cost next to nothing. Owns its
// socket; points at loop and owner. Thread: the loop's.
class Link final : private Loop::Handler {
  public:
    Link(Loop& loop, LinkOwner& owner, uint32_t index, bool webSocket)
        : m_loop(loop), m_owner(owner), m_index(index), m_webSocket(webSocket) {}
    ~Link() { Close(); }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    // The owner's number for it.
    uint32_t Index() const { return m_index; }
    bool IsOpen() const { return m_state == State::Open; }

    // number chooses the source address. A failure is reported by OnLost, perhaps at once.
    void Open(const Source& source, uint64_t number);
    // Nothing is reported.
    void Close();
    // Appends a message to what the next Flush writes. The first 8 bytes are filled in.
    void Send(uint16_t type, void* message, size_t size);
    // Appends finished messages. Over WebSocket: exactly one.
    void Append(std::string_view message);
    void Flush();
    // From now on, or from its opening on: reads one small piece for each ReadOn, through a window
    // as small.
    void ReadSlowly() { m_slow = true; }
    void ReadOn();

  private:
    enum class State : uint8_t { Closed, Connecting, Upgrading, Open };

    void OnReady(uint32_t events) override;
    void OnConnected();
    void Read();
    void OnBytes(std::string_view bytes);
    void OnUpgradeAnswer(std::string_view bytes);
    void OnFrames(std::string_view bytes);
    void OnStream(std::string_view bytes);
    // Delivers the whole messages; returns the bytes used up.
    size_t Cut(std::string_view bytes);
    void Lose(const char* why);

    Loop& m_loop;
    LinkOwner& m_owner;
    std::string m_out;   // waits for the socket
    std::string m_raw;   // an incomplete frame or upgrade answer
    std::string m_part;  // an incomplete message
    int m_fd = -1;
    const uint32_t m_index;
    State m_state = State::Closed;
    const bool m_webSocket;
    bool m_waitsForRoom = false;
    bool m_slow = false;
};

// Whether this may be the echo of a message of `size` bytes: a lobby echoes the header alone.
bool IsEcho(std::string_view message, size_t size);
// Writes the header of a message of `size` bytes over its first 8 bytes.
void FillHeader(void* message, uint16_t type, size_t size);
