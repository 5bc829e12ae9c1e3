// Farm message keys and who subscribed to them.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "PublisherMsg.h"
#include "config_server_msg.h"

class LobbyPlayer;

// The keys that the config server allows, the subscribers of each key and the keys of each user;
// a user stands among a key's subscribers exactly as long as the key stands among the user's keys.
// Owned by LobbyServer. Sends nothing: who publishes walks the subscribers.
// Thread: message worker.
class FarmKeys {
  public:
    // A list too long for one message comes as one that starts afresh and others that append.
    void Forget() { m_lSubscribeKeyInfo.clear(); }
    void Allow(const WebFarmSubscribeKeyInfo& key) { m_lSubscribeKeyInfo.push_back(key); }
    // Whether clients may subscribe to it. Byte by byte; an empty key leaves a log line.
    bool IsAllowed(const std::string& key) const;

    // Once per connection: one user on two connections stands twice.
    void Subscribe(LobbyPlayer& player, const std::string& key);
    // Removes the user on whichever connection it subscribed: when the old connection of a user
    // who came back closes, the subscriptions of the new one go with it. An empty key stands for
    // all keys of the user, and leaves no line per entry: a player who closes would write one for
    // every other subscriber of all of his keys.
    void Unsubscribe(const LobbyPlayer& player, const std::string& key);
    // Forgets what the closing player subscribed to before his connect notice named him.
    void DropEarly(const LobbyPlayer& player);
    // Null for a key that nobody ever subscribed to; one that lost its last subscriber keeps its
    // empty list.
    const std::vector<PublishPlayer>* SubscribersOf(const std::string& key) const;

    std::map<std::string, std::vector<PublishPlayer>> m_mapStrKeyToPlayer;
    std::map<int32_t, std::vector<std::string>> m_mapPlayerToStrKey;
    std::list<WebFarmSubscribeKeyInfo> m_lSubscribeKeyInfo;

  private:
    void AddSubscriber(LobbyPlayer& player, const std::string& key);
    void RemoveSubscriber(const LobbyPlayer& player, const std::string& key, bool logEach);
};
