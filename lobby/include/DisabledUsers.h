// The accounts that may not log in.
#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

class CIniFile;

// The ids of disconnectuserid.cfg. Every load appends the whole list once more, and none takes an
// id away: an account is enabled again by the next start.
// Thread: one at a time; the lobby's message worker, and its constructor on main.
class DisabledUsers {
  public:
    // Reads user0 up to one below usernum in one pass over the file; a missing one is an id of 0.
    // Prints each on standard output. The result is usernum.
    int Load(const CIniFile& file);

    bool Contains(int32_t userID) const { return m_setUsers.count(userID) != 0; }

    // All that was ever loaded, in order.
    const std::vector<int32_t>& List() const { return m_vecUsers; }

  private:
    std::vector<int32_t> m_vecUsers;
    std::unordered_set<int32_t> m_setUsers;  // the same, to look them up
};
