// The queue server's profile operations.
#include "QueueServer.h"

namespace sim {
namespace {

// A result has the layout of its request, with the error where the request has the user id.
template <class Res, class Req>
Res ResultOf(const Req& req, Code code) {
    static_assert(sizeof(Res) == sizeof(Req));
    Res res;
    std::memcpy(&res, &req, sizeof(res));
    res.base.iError = code;
    return res;
}

// Applies a change to the player asking, if there is one.
template <class Change>
Code Apply(World& world, int32_t userId, Change change) {
    Player* player = world.FindPlayer(userId);
    return player == nullptr ? UNKNOWN_USER : change(*player);
}

bool AllDigits(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

void QueueServer::OnPassword(Link& link, const ModifyPassWordReq_trans& req) {
    ModifyPassWordRes_trans res{};
    res.ulPlayerNode = req.ulPlayerNode;
    res.ulPlayerNodeId = req.ulPlayerNodeId;
    const Code code = Apply(TheWorld(), req.base.iUserID, [&](Player& player) {
        if (player.password != TextOf(req.base.szOldPassWd)) return WRONG_PASSWORD;
        player.password = TextOf(req.base.szNewPassWd);
        return OK;
    });
    res.ucResultType = static_cast<uint8_t>(code);
    link.Send(MODIFY_PASSWORD_Q2L, res);
}

void QueueServer::OnNickname(Link& link, const ModifyNickNameReq_trans& req) {
    const std::string nickname = TextStr(req.base.szNickName);
    const Code code = Apply(TheWorld(), req.base.iUserId, [&](Player& player) {
        if (nickname.empty()) return BAD_TEXT;
        if (TheWorld().NicknameTaken(nickname, player.id)) return NICKNAME_TAKEN;
        player.nickname = nickname;
        return OK;
    });
    link.Send(MODIFY_NICKNAME_Q2L, ResultOf<ModifyNickNameRes_trans>(req, code));
}

void QueueServer::OnGender(Link& link, const ModifyGenderReq_trans& req) {
    const Code code = Apply(TheWorld(), req.base.iUserId, [&](Player& player) {
        player.gender = req.base.iGender;
        return OK;
    });
    link.Send(MODIFY_GENDER_Q2L, ResultOf<ModifyGenderRes_trans>(req, code));
}

void QueueServer::OnSignature(Link& link, const ModifyPersonalSignatureReq_trans& req) {
    const Code code = Apply(TheWorld(), req.base.iUserId, [&](Player& player) {
        player.signature = TextOf(req.base.szPersonalSignature);
        return OK;
    });
    link.Send(MODIFY_SIGNATURE_Q2L, ResultOf<ModifyPersonalSignatureRes_trans>(req, code));
}

void QueueServer::OnFaceId(Link& link, const ModifyFaceIdReq_trans& req) {
    const Code code = Apply(TheWorld(), req.base.iUserId, [&](Player& player) {
        player.faceId = req.base.iFaceId;
        return OK;
    });
    link.Send(MODIFY_FACE_ID_Q2L, ResultOf<ModifyFaceIdRes_trans>(req, code));
}

void QueueServer::OnMobile(Link& link, const BindingMobileReq_trans& req) {
    const std::string mobile = TextStr(req.base.szMobileNumber);
    const Code code = Apply(TheWorld(), req.base.iUserId, [&](Player& player) {
        if (mobile.size() < 5 || !AllDigits(mobile)) return BAD_TEXT;
        player.mobile = mobile;
        return OK;
    });
    link.Send(BINDING_MOBILE_Q2L, ResultOf<BindingMobileRes_trans>(req, code));
}

void QueueServer::OnRealName(Link& link, const RealNameAuthenReq_trans& req) {
    const Code code = Apply(TheWorld(), req.base.iUserId, [&](Player& player) {
        if (TextOf(req.base.szRealName).empty() || TextOf(req.base.szIdentity).size() != 18) {
            return BAD_TEXT;
        }
        player.realName = TextOf(req.base.szRealName);
        player.identity = TextOf(req.base.szIdentity);
        return OK;
    });
    link.Send(REAL_NAME_Q2L, ResultOf<RealNameAuthenRes_trans>(req, code));
}

void QueueServer::OnFaceFrame(Link& link, const ModifyFaceFrameReq_trans& req) {
    const Code code = Apply(TheWorld(), req.base.iUserId, [&](Player& player) {
        player.faceFrame = req.base.iFrameId;
        return OK;
    });
    link.Send(MODIFY_FACE_FRAME_Q2L, ResultOf<ModifyFaceFrameRes_trans>(req, code));
}

}  // namespace sim
