// Results of bank and profile operations: twelve rows, one relay.
#include <algorithm>
#include <iterator>

#include "Common/Log.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "QueueServerHandler.h"

namespace {

// What the log says of a result, at which level of a success, and under whose name.
struct Outcome {
    const char* what = nullptr;  // the operation; null: nothing is said
    bool tellsSuccess = true;
    LOG_LEVEL successLevel = _DEBUG;
    bool failureNamesUser = false;
    const char* tag = nullptr;      // null: the row's
    const char* sizeTag = nullptr;  // of the wrong-size line; null: the row's
};

// What tells one result from another. Tags borrowed from other functions are what log readers
// filter by.
struct ResultRow {
    uint16_t queueType;
    uint16_t clientType;
    const char* tag;
    Outcome outcome;
    const char* name;  // of the wrapped structure
    long size;         // its size, and of the part that is the client's
    long clientSize;
    size_t sessionAt;  // handle and node id of the session
    size_t codeAt;
    bool narrowCode;  // one byte, not four
};

template <class Trans, class Result>
consteval ResultRow Row(uint16_t queueType, uint16_t clientType, const char* tag, Outcome outcome) {
    static_assert(offsetof(Trans, ulPlayerNodeId) == offsetof(Trans, ulPlayerNode) + 8);
    if (outcome.tag == nullptr) outcome.tag = tag;
    if (outcome.sizeTag == nullptr) outcome.sizeTag = tag;
    ResultRow row{queueType,
                  clientType,
                  tag,
                  outcome,
                  WireFields<Trans>::kName,
                  sizeof(Trans),
                  sizeof(Result),
                  offsetof(Trans, ulPlayerNode),
                  0,
                  false};
    if constexpr (requires { &Result::iError; }) {
        row.codeAt = offsetof(Result, iError);
    } else {
        row.codeAt = offsetof(Result, ucResultType);
        row.narrowCode = sizeof(Result::ucResultType) == 1;
    }
    return row;
}

constexpr const char* kBankLoginTag = "QueueServerHandler::OnBankLoginRes:";
constexpr const char* kSaveCoinTag = "QueueServerHandler::OnSaveCoinRes:";
constexpr const char* kBankPasswdTag = "QueueServerHandler::OnModifyBankPasswd:";

// clang-format off
constexpr ResultRow kResults[] = {
    Row<LoginBankResult_trans, LoginBankResult>(BANK_LOGIN_Q2L, BANK_LOGIN_S2C, kBankLoginTag, {}),
    Row<GetCoinResult_trans, GetCoinResult>(BANK_GET_COIN_Q2L, BANK_GET_COIN_S2C,
        "QueueServerHandler::OnGetCoinRes:",
        {.what = "银行取钱", .tellsSuccess = false, .tag = kSaveCoinTag, .sizeTag = kBankLoginTag}),
    Row<SaveCoinRes_trans, SaveCoinRes>(BANK_SAVE_COIN_Q2L, BANK_SAVE_COIN_S2C, kSaveCoinTag,
        {.what = "银行存钱", .tellsSuccess = false}),
    Row<ModifyBankPasswdRes_trans, ModifyBankPasswdRes>(BANK_MODIFY_PASSWD_Q2L,
        BANK_MODIFY_PASSWD_S2C, kBankPasswdTag, {.what = "银行修改密码", .tellsSuccess = false}),
    Row<ModifyPassWordRes_trans, tagModifyPassWordRes>(MODIFY_PASSWORD_Q2L, MODIFY_PASSWORD_S2C,
        "QueueServerHandler::OnModifyPasswd:",
        {.what = "修改密码", .successLevel = _ERROR, .sizeTag = kBankPasswdTag}),
    Row<ModifyNickNameRes_trans, ModifyNickNameRes>(MODIFY_NICKNAME_Q2L, MODIFY_NICKNAME_S2C,
        "QueueServerHandler::OnModifyNickName:", {.what = "修改昵称"}),
    Row<ModifyGenderRes_trans, ModifyGenderRes>(MODIFY_GENDER_Q2L, MODIFY_GENDER_S2C,
        "QueueServerHandler::OnModifyGender:", {.what = "修改性别"}),
    Row<ModifyPersonalSignatureRes_trans, ModifyPersonalSignatureRes>(MODIFY_SIGNATURE_Q2L,
        MODIFY_SIGNATURE_S2C, "QueueServerHandler::OnModifyPersonalSignature:",
        {.what = "修改个性签名"}),
    Row<ModifyFaceIdRes_trans, ModifyFaceIdRes>(MODIFY_FACE_ID_Q2L, MODIFY_FACE_ID_S2C,
        "QueueServerHandler::OnModifyFaceId:", {.what = "修改头像", .failureNamesUser = true}),
    Row<BindingMobileRes_trans, BindingMobileRes>(BINDING_MOBILE_Q2L, BINDING_MOBILE_S2C,
        "QueueServerHandler::OnBindingMobile:", {.what = "绑定手机"}),
    Row<RealNameAuthenRes_trans, RealNameAuthenRes>(REAL_NAME_Q2L, REAL_NAME_S2C,
        "QueueServerHandler::OnRealNameAuthen:", {.what = "实名认证"}),
    Row<ModifyFaceFrameRes_trans, ModifyFaceFrameRes>(MODIFY_FACE_FRAME_Q2L, MODIFY_FACE_FRAME_S2C,
        "QueueServerHandler::OnModifyFaceFrame:", {.what = "修改相框"}),
};
// clang-format on

void LogOutcome(const Outcome& outcome, int userID, int code) {
    if (outcome.what == nullptr || (code == 0 && !outcome.tellsSuccess)) return;
    if (code == 0) {
        __log(outcome.successLevel, outcome.tag, "userid[%d]%s操作成功.... [%d]", userID,
              outcome.what, code);
    } else if (outcome.failureNamesUser) {
        __log(_ERROR, outcome.tag, "userid[%d]%s操作失败.... [%d]", userID, outcome.what, code);
    } else {
        __log(_ERROR, outcome.tag, "%s操作失败.... [%d]", outcome.what, code);
    }
}

}  // namespace

// The client gets the first part alone.
void QueueServerHandler::Relay(uint16_t queueType, void* data, long length) {
    const ResultRow& row = *std::find_if(std::begin(kResults), std::end(kResults),
                                         [&](auto& one) { return one.queueType == queueType; });
    if (length != row.size) {
        __log(_ERROR, row.outcome.sizeTag, "sizeof(%s) %d !=  length %d", row.name,
              static_cast<int>(row.size), static_cast<int>(length));
        return;
    }
    LobbyPlayer* player = SessionOf(ReadItem<uint64_t>(data, length, row.sessionAt, 0),
                                    ReadItem<uint64_t>(data, length, row.sessionAt, 1), row.tag,
                                    "pMsg->ulPlayerNodeId [%d] != *pPlayerNode[%d]");
    if (player == nullptr) return;
    const int code = row.narrowCode ? ReadItem<uint8_t>(data, length, row.codeAt, 0)
                                    : ReadItem<int32_t>(data, length, row.codeAt, 0);
    if (row.clientType == BANK_LOGIN_S2C && code == BANK_RESULT_LOGIN_RETRY) {
        player->iLastBankLoginTime = 0;
    }
    LogOutcome(row.outcome, player->m_iUserID, code);
    if (!m_lpLobbyServer->SendData(player, row.clientType, data, row.clientSize, ENCODE_NONE)) {
        __log(_ERROR, row.tag, "SendData fail----userid [%d] ", player->m_iUserID);
    }
}
