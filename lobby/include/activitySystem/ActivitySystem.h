// The process-wide registry of activities.
#pragma once

#include <map>

#include "Common/IniFile.h"
#include "RewardAccount.h"
#include "activitySystem/ActivityHandler.h"
#include "activitySystem/Activity_Data_Msg.h"

class LobbyPlayer;
class LobbyServer;

// Holds the activity handlers, the activities' configuration rows and the progress records of the
// players in the lobby, and routes activity messages to the handlers.
// Owns configuration and progress; the handlers belong to whoever registered them (the lobby).
// Thread: message worker, and main at start-up and after the worker has ended; no lock.
class ActivitySystem {
  public:
    // The one instance, created on first use, which also loads factoryActivity.cfg.
    static ActivitySystem* getInstance();
    static void destroyInstance();

    // Every lobby tick: each 30 minutes loads factoryActivity.cfg and asks for the rows again.
    virtual void OnTimer(long now);
    virtual ~ActivitySystem() = default;

    // The lobby; null, or an application that is none, takes it away. Also forgets when the timer
    // last ran.
    void SetGameProvider(GameProvider* provider);
    // Loads factoryActivity.cfg again.
    CIniFile* getActivityCfg();

    // A handler whose id is taken is not registered: the first one stays.
    void AddActivityHandler(IActivityHandler* handler);
    void RemoveActivityHandler(IActivityHandler* handler);
    void RemoveActivityHandler(int activityId);

    void SetActivityConfig(const tagDBActivityConfigData& row, bool finished);

    // Files a record the data server sent at login; null ends the list and makes zeroed records
    // for the open activities that had none.
    void AddActivityProgress(LobbyPlayer* player, const tagDBUserActivityProgressData* record);
    // Sends the changed records of a leaving player to the data server, at most 46 to a message
    // (the next would not fit its 4096 bytes), and forgets all of them.
    void RemoveActivityProgress(LobbyPlayer* player);
    void UpdateActivityProgress(int, const tagDBUserActivityProgressData*) {}
    // 1 and the record, or 0.
    int FindProgressByUserID(int userId, int activityId, tagDBUserActivityProgressData** out);

    // Messages of a client, or of the data server about one player.
    void HandleActivityMessage(unsigned short type, void* data, long length, IPlayerNode* player);
    void HandleActivityMessage(int activityId, unsigned short type, void* data, long length,
                               IPlayerNode* player);
    // Messages of the data server for every handler, open or not, or for one.
    void HandleGlobalActivityMessage(unsigned short type, void* data, long length);
    void HandleGlobalActivityMessage(int activityId, unsigned short type, void* data, long length);

    bool SendData(IPlayerNode* player, unsigned short type, void* data, long length, long encode);
    // Sent session by session; encode is not used by the lobby's broadcast.
    void SendMessageToAllClient(unsigned short type, void* data, long length, long encode);

    void SetUserAccountTypeConfig(void* data, long length);
    // 0 ordinary, 1 and 2 by machine and play time, 3 and 4 paying little and much.
    int GetUserAccountType(int payAmount, int machineIndex, int playTimes, int ingotAmount) const;

    // Asks the data server to move one record; the answer comes back to the Res.
    void UpdateLobbyActivityProgress(LobbyActivitySingleProgressUpdate& update);
    void UpdateLobbyActivityProgressRes(unsigned short type, void* data, long length);

  private:
    ActivitySystem();

    IActivityHandler* FindHandler(int activityId) const;
    // Whether it is open, for every site or for the player's.
    static bool IsForPlayer(IActivityHandler* handler, const LobbyPlayer* player);
    void AddRecord(LobbyPlayer* player, const tagDBUserActivityProgressData& record);
    void AddMissingRecords(LobbyPlayer* player);
    void HandleUserProgressReq(unsigned short type, void* data, long length, LobbyPlayer* player);
    void DeliverToHandler(IActivityHandler* handler, unsigned short type, void* data, long length,
                          LobbyPlayer* player);
    static bool IsRequestWhole(unsigned short type, long length);
    RewardAccount AccountOf(const LobbyActivitySingleProgressUpdateRes& result,
                            const LobbyPlayer* player);
    void BookRewards(const LobbyActivitySingleProgressUpdateRes& result, const LobbyPlayer* player);
    void SendProgressBatch(int count);

    std::map<int, tagDBActivityConfigData> m_mapActivityConfig;
    ActivityProgressMap m_mapActivityProgress;  // by user id, one record per activity
    std::map<int, IActivityHandler*> m_mapActivityHandler;
    UserAccountTypeConfig m_userAccountTypeConfig{};
    LobbyServer* m_pGameProvider = nullptr;
    long m_lTimerStamp = 0;  // 0 until the first tick
    CIniFile m_factoryConfig;
    alignas(8) char m_updateBuffer[BUFFER_SIZE] = {};  // the write-back batch being built

    static ActivitySystem* s_pActivitySystem;
};
