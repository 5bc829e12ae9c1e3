// Echoes: closed loop with so many in flight per connection, or open loop at a fixed rate.
#pragma once

#include <optional>

#include "Flooder.h"
#include "Load.h"
#include "StoppedReader.h"

// Points in time, oldest first: when each message under way on a connection should have been
// sent. Grows as needed and stays so.
class StampRing {
  public:
    void Push(Nanos stamp);
    // There must be one.
    Nanos Pop();
    bool Empty() const { return m_count == 0; }

  private:
    std::vector<Nanos> m_stamps;
    size_t m_head = 0;
    size_t m_count = 0;
};

// Thread: as Load.
class EchoLoad : public Load {
  public:
    explicit EchoLoad(const Settings& settings);

  private:
    struct Line {
        StampRing sent;
        uint32_t owed = 0;  // answers got in this read: so many to send again
    };
    enum Token : uint64_t { kSend };

    void OnAllTried() override;
    void OnOwnTimer(uint64_t token, Nanos due) override;
    void OnMessage(Link& link, uint16_t type, std::string_view message) override;
    void OnDrained(Link& link) override;
    void OnLost(Link& link, const char* why) override;
    void OnMeasureEnd(Result& result) override;

    void Send(Link& link, Nanos intended);
    // The open loop: everything due by now, over the connections in turn.
    void SendDue();

    std::string m_message;
    std::vector<Line> m_lines;
    std::vector<Link*> m_open;  // open loop: those in turn
    std::optional<StoppedReader> m_stopped;
    std::optional<Flooder> m_flooder;
    size_t m_turn = 0;
    Nanos m_sendBegin = 0;
    uint64_t m_sendCount = 0;
};
