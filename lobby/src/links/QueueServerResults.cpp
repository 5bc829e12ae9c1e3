// Results of bank and profile operations: twelve rows, one relay.
#include <cstring>

#include "BankInfoDef_Trans.h"
#include "Common/Log.h"
#include "LobbyServer.h"
#include "LogText.h"
#include "MsgView.h"
#include "QueueServerHandler.h"
#include "queue_server_msg.h"

namespace {

// What tells one result from another. Tags borrowed from other functions are what log readers
// filter by.
struct ResultRow {
    uint16_t clientType;
    const char* tag;
    const char* sizeTag;         // of the wrong-size line
    const char* outcomeTag;      // of the outcome lines
    LogText<int, int> sizeText;  // size, length
    LOG_LEVEL okLevel;
    LogText<int, int> okText;                  // user, code
    LogText<int> failText;                     // code
    LogText<int, int> failUserText = nullptr;  // user, code
};

int CodeOf(const auto& result) {
    if constexpr (requires { result.iError; }) {
        return result.iError;
    } else {
        return result.ucResultType;
    }
}

void LogOutcome(const ResultRow& row, int userID, int code) {
    if (code == 0) {
        row.okText.Log(row.okLevel, row.outcomeTag, userID, code);
    } else {
        row.failText.Log(_ERROR, row.outcomeTag, code);
        row.failUserText.Log(_ERROR, row.outcomeTag, userID, code);
    }
}

constexpr const char* kBankLogin = "QueueServerHandler::OnBankLoginRes:";
constexpr const char* kGetCoin = "QueueServerHandler::OnGetCoinRes:";
constexpr const char* kSaveCoin = "QueueServerHandler::OnSaveCoinRes:";
constexpr const char* kBankPasswd = "QueueServerHandler::OnModifyBankPasswd:";
constexpr const char* kPasswd = "QueueServerHandler::OnModifyPasswd:";
constexpr const char* kNickName = "QueueServerHandler::OnModifyNickName:";
constexpr const char* kGender = "QueueServerHandler::OnModifyGender:";
constexpr const char* kSignature = "QueueServerHandler::OnModifyPersonalSignature:";
constexpr const char* kFaceId = "QueueServerHandler::OnModifyFaceId:";
constexpr const char* kMobile = "QueueServerHandler::OnBindingMobile:";
constexpr const char* kRealName = "QueueServerHandler::OnRealNameAuthen:";
constexpr const char* kFaceFrame = "QueueServerHandler::OnModifyFaceFrame:";

// clang-format off
constexpr ResultRow kBankLoginRow = {
    BANK_LOGIN_S2C, kBankLogin, kBankLogin, kBankLogin,
    "sizeof(LoginBankResult_trans) %d !=  length %d", _DEBUG, nullptr, nullptr};
constexpr ResultRow kGetCoinRow = {
    BANK_GET_COIN_S2C, kGetCoin, kBankLogin, kSaveCoin,
    "sizeof(GetCoinResult_trans) %d !=  length %d", _DEBUG, nullptr,
    "银行取钱操作失败.... [%d]"};
constexpr ResultRow kSaveCoinRow = {
    BANK_SAVE_COIN_S2C, kSaveCoin, kSaveCoin, kSaveCoin,
    "sizeof(SaveCoinRes_trans) %d !=  length %d", _DEBUG, nullptr,
    "银行存钱操作失败.... [%d]"};
constexpr ResultRow kBankPasswdRow = {
    BANK_MODIFY_PASSWD_S2C, kBankPasswd, kBankPasswd, kBankPasswd,
    "sizeof(ModifyBankPasswdRes_trans) %d !=  length %d", _DEBUG, nullptr,
    "银行修改密码操作失败.... [%d]"};
constexpr ResultRow kPasswdRow = {
    MODIFY_PASSWORD_S2C, kPasswd, kBankPasswd, kPasswd,
    "sizeof(ModifyPassWordRes_trans) %d !=  length %d", _ERROR,
    "userid[%d]修改密码操作成功.... [%d]", "修改密码操作失败.... [%d]"};
constexpr ResultRow kNickNameRow = {
    MODIFY_NICKNAME_S2C, kNickName, kNickName, kNickName,
    "sizeof(ModifyNickNameRes_trans) %d !=  length %d", _DEBUG,
    "userid[%d]修改昵称操作成功.... [%d]", "修改昵称操作失败.... [%d]"};
constexpr ResultRow kGenderRow = {
    MODIFY_GENDER_S2C, kGender, kGender, kGender,
    "sizeof(ModifyGenderRes_trans) %d !=  length %d", _DEBUG,
    "userid[%d]修改性别操作成功.... [%d]", "修改性别操作失败.... [%d]"};
constexpr ResultRow kSignatureRow = {
    MODIFY_SIGNATURE_S2C, kSignature, kSignature, kSignature,
    "sizeof(ModifyPersonalSignatureRes_trans) %d !=  length %d", _DEBUG,
    "userid[%d]修改个性签名操作成功.... [%d]", "修改个性签名操作失败.... [%d]"};
constexpr ResultRow kFaceIdRow = {
    MODIFY_FACE_ID_S2C, kFaceId, kFaceId, kFaceId,
    "sizeof(ModifyFaceIdRes_trans) %d !=  length %d", _DEBUG,
    "userid[%d]修改头像操作成功.... [%d]", nullptr, "userid[%d]修改头像操作失败.... [%d]"};
constexpr ResultRow kMobileRow = {
    BINDING_MOBILE_S2C, kMobile, kMobile, kMobile,
    "sizeof(BindingMobileRes_trans) %d !=  length %d", _DEBUG,
    "userid[%d]绑定手机操作成功.... [%d]", "绑定手机操作失败.... [%d]"};
constexpr ResultRow kRealNameRow = {
    REAL_NAME_S2C, kRealName, kRealName, kRealName,
    "sizeof(RealNameAuthenRes_trans) %d !=  length %d", _DEBUG,
    "userid[%d]实名认证操作成功.... [%d]", "实名认证操作失败.... [%d]"};
constexpr ResultRow kFaceFrameRow = {
    MODIFY_FACE_FRAME_S2C, kFaceFrame, kFaceFrame, kFaceFrame,
    "sizeof(ModifyFaceFrameRes_trans) %d !=  length %d", _DEBUG,
    "userid[%d]修改相框操作成功.... [%d]", "修改相框操作失败.... [%d]"};
// clang-format on

}  // namespace

// The client gets the first part alone.
template <class Trans, class Result, class Row>
void QueueServerHandler::RelayResult(const Row& row, void* data, long length) {
    if (length != sizeof(Trans)) {
        row.sizeText.Log(_ERROR, row.sizeTag, static_cast<int>(sizeof(Trans)),
                         static_cast<int>(length));
        return;
    }
    const auto msg = ReadMsg<Trans>(data, length);
    LobbyPlayer* player = SessionOf(msg.ulPlayerNode, msg.ulPlayerNodeId, row.tag,
                                    "pMsg->ulPlayerNodeId [%d] != *pPlayerNode[%d]");
    if (player == nullptr) return;
    Result result;
    std::memcpy(&result, &msg, sizeof(result));
    const int code = CodeOf(result);
    if (row.clientType == BANK_LOGIN_S2C && code == BANK_RESULT_LOGIN_RETRY) {
        player->iLastBankLoginTime = 0;
    }
    LogOutcome(row, player->m_iUserID, code);
    if (!m_lpLobbyServer->SendData(player, row.clientType, &result, sizeof(result), ENCODE_NONE)) {
        __log(_ERROR, row.tag, "SendData fail----userid [%d] ", player->m_iUserID);
    }
}

void QueueServerHandler::OnBankLoginRes(void* data, long length) {
    RelayResult<LoginBankResult_trans, LoginBankResult>(kBankLoginRow, data, length);
}

void QueueServerHandler::OnGetCoinRes(void* data, long length) {
    RelayResult<GetCoinResult_trans, GetCoinResult>(kGetCoinRow, data, length);
}

void QueueServerHandler::OnSaveCoinRes(void* data, long length) {
    RelayResult<SaveCoinRes_trans, SaveCoinRes>(kSaveCoinRow, data, length);
}

void QueueServerHandler::OnModifyBankPasswd(void* data, long length) {
    RelayResult<ModifyBankPasswdRes_trans, ModifyBankPasswdRes>(kBankPasswdRow, data, length);
}

void QueueServerHandler::OnModifyPasswd(void* data, long length) {
    RelayResult<ModifyPassWordRes_trans, tagModifyPassWordRes>(kPasswdRow, data, length);
}

void QueueServerHandler::OnModifyNickName(void* data, long length) {
    RelayResult<ModifyNickNameRes_trans, ModifyNickNameRes>(kNickNameRow, data, length);
}

void QueueServerHandler::OnModifyGender(void* data, long length) {
    RelayResult<ModifyGenderRes_trans, ModifyGenderRes>(kGenderRow, data, length);
}

void QueueServerHandler::OnModifyPersonalSignature(void* data, long length) {
    RelayResult<ModifyPersonalSignatureRes_trans, ModifyPersonalSignatureRes>(kSignatureRow, data,
                                                                              length);
}

void QueueServerHandler::OnModifyFaceId(void* data, long length) {
    RelayResult<ModifyFaceIdRes_trans, ModifyFaceIdRes>(kFaceIdRow, data, length);
}

void QueueServerHandler::OnBindingMobile(void* data, long length) {
    RelayResult<BindingMobileRes_trans, BindingMobileRes>(kMobileRow, data, length);
}

void QueueServerHandler::OnRealNameAuthen(void* data, long length) {
    RelayResult<RealNameAuthenRes_trans, RealNameAuthenRes>(kRealNameRow, data, length);
}

void QueueServerHandler::OnModifyFaceFrame(void* data, long length) {
    RelayResult<ModifyFaceFrameRes_trans, ModifyFaceFrameRes>(kFaceFrameRow, data, length);
}
