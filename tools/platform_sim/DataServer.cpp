#include "DataServer.h"

#include <algorithm>

namespace sim {
namespace {

std::vector<wire::Bytes> Configuration(const std::vector<tagDBActivityConfigData>& rows) {
    return wire::Lists(ACT_CONFIG_RES, tagDBSiteActivityList{}, rows,
                       [&](tagDBSiteActivityList& head, size_t begin, size_t end) {
                           head.iCount = static_cast<int32_t>(end - begin);
                           head.iIsFinish = end == rows.size();
                       });
}

}  // namespace

DataServer::DataServer(Platform& platform) : BackEnd(platform, ServerKind::Data) {
    On(ACT_CONFIG_REQ, &DataServer::OnConfigRequest);
    On(ACT_ACCOUNT_TYPE_REQ, &DataServer::OnAccountTypeRequest);
    On(ACT_PROGRESS_REQ, &DataServer::OnProgressRequest);
    On(ACT_PROGRESS_UPDATE, &DataServer::OnUpdate);
    On(ACT_SINGLE_PROGRESS_UPDATE, &DataServer::OnSingleUpdate);
}

void DataServer::OnConfigRequest(Link& link) {
    link.Send(Configuration(TheWorld().activities));
}

void DataServer::OnAccountTypeRequest(Link& link) {
    UserAccountTypeConfig res{};
    res.iHighPayamount = 1000;
    res.iHighYbamount = 100;
    res.iLowPayamount = 100;
    res.iLowYbamount = 10;
    res.iMachineIndex = 5;
    res.iPlayTimes = 10;
    link.Send(ACT_ACCOUNT_TYPE_RES, res);
}

void DataServer::OnProgressRequest(Link& link, const tagDBUserActivityProgressReq& req) {
    std::vector<tagDBUserActivityProgressData> records;
    for (const auto& [key, record] : TheWorld().progress) {
        if (key.first == req.iUserID) records.push_back(record);
    }
    tagDBActivityProgressList start{};
    start.ulPlayerNode = req.ulPlayerNode;
    start.ulPlayerNodeId = req.ulPlayerNodeId;
    const auto finish = [&](tagDBActivityProgressList& head, size_t begin, size_t end) {
        head.iCount = static_cast<int32_t>(end - begin);
        head.iFinished = end == records.size();
    };
    link.Send(wire::Lists(ACT_PROGRESS_RES, start, records, finish));
}

void DataServer::Store(tagDBUserActivityProgressData record) {
    record.isUpdate = 0;
    TheWorld().progress[{record.iUserId, record.iActivityId}] = record;
}

void DataServer::OnUpdate(Link& link, const Message& message) {
    const auto head = message.As<tagUserActivityProgressUpdate>();
    const size_t count = ItemsWithin<tagDBUserActivityProgressData>(
        static_cast<long>(message.bytes.size()), sizeof(head), static_cast<size_t>(head.iCount));
    for (size_t i = 0; i < count; ++i) {
        Store(message.Item<tagDBUserActivityProgressData>(sizeof(head), i));
    }
    link.Send(wire::Pack(ACT_UPDATE_ACK));
}

void DataServer::OnSingleUpdate(Link& link, const LobbyActivitySingleProgressUpdate& req) {
    Store(req.progress);
    LobbyActivitySingleProgressUpdateRes res{};
    // The result is the request with an error code in front.
    constexpr size_t head = sizeof(tagMsgHeader);
    std::memcpy(
        reinterpret_cast<char*>(&res) + offsetof(LobbyActivitySingleProgressUpdateRes, iProgress),
        reinterpret_cast<const char*>(&req) + head, sizeof(req) - head);
    link.Send(ACT_SINGLE_PROGRESS_RES, res);
}

void DataServer::PutActivity(const tagDBActivityConfigData& row) {
    auto& rows = TheWorld().activities;
    const auto at = std::find_if(rows.begin(), rows.end(), [&](const auto& other) {
        return other.iActivityId == row.iActivityId;
    });
    if (at == rows.end()) {
        rows.push_back(row);
    } else {
        *at = row;
    }
    SendAll(Configuration({row}));
}

void DataServer::SendGlobal(uint16_t type, std::string_view text) {
    wire::Bytes bytes(wire::HEADER + std::min(text.size(), wire::LARGEST - wire::HEADER));
    std::memcpy(bytes.data() + wire::HEADER, text.data(), bytes.size() - wire::HEADER);
    SendAll(wire::Pack(type, bytes.data(), bytes.size()));
}

}  // namespace sim
