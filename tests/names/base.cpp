// Names of the base library, beside the C library's and libcrypto's.
#include <openssl/evp.h>
#include <openssl/md5.h>

#include <cstdlib>

#include "Common/Common.h"
#include "Common/Digest.h"
#include "Common/GLogService.h"
#include "Names.h"
#include "RedisConn.h"
#include "RedisDBSlice.h"
#include "RedisPool.h"
#include "aes.h"
#include "cJson/JsonPack.h"
#include "xredis/xRedisClient.h"

namespace {

static_assert(Named<&CIniFile::InitFile, &CIniFile::GetLineCount, &CIniFile::GetValueStr,
                    &CIniFile::GetValueInt, &CIniFile::SetValueStr, &CIniFile::SetValueInt,
                    &CIniFile::DeleteSection, &CIniFile::DeleteKey, &CIniFile::GetSectionNames,
                    &CIniFile::GetKeyNames>);
static_assert(Named<&InitializeLog, &__log, &GLogService::__log, &CLogCls::_log, &CLogCls::_log_1,
                    &CLogCls::_log_2> &&
              _ALL + _DEBUG + _WARN + _ERROR == 6);
static_assert(Named<&CMutex::lock, &CMutex::unlock, &CEvent::Init, &CEvent::Set, &CEvent::Reset,
                    &CEvent::Wait, &CEvent::TryWait, &CreateEvent, &CreateThread>);
static_assert(Named<&MD5Init, &MD5Update, &MD5Final, &MD5Transform, &Encode, &Decode, &md5_hex,
                    &md5_str, &EncodeXor, &Encode7Bit, &Decode7Bit, &MergeSort>);
static_assert(Named<&fillrand, &encbuf, &decbuf, &aes_enc, &aes_dec, &aes_enc_r, &aes_dec_r,
                    &aes_enc_key, &aes_dec_key, &aes_enc_blk, &aes_dec_blk, &g_szKey>);
static_assert(Named<&CJsonPack::AddString, &CJsonPack::AddNumber, &CJsonPack::AddBool,
                    As<void (CJsonPack::*)(const char*, CJsonPack*)>(&CJsonPack::AddJsonItem),
                    As<void (CJsonPack::*)(const char*, CJsonPack&)>(&CJsonPack::AddJsonItem),
                    &CJsonPack::ToString, &CJsonPack::ToUnfmtString, &CJsonPack::GetValueInt,
                    &CJsonPack::GetValueDouble, &CJsonPack::GetValueStr, &CJsonPack::GetJsonObj,
                    &CJsonPack::GetJsonArray>);
static_assert(
    Named<&_REDIS_NODE_::dbindex, &_REDIS_NODE_::host, &_REDIS_NODE_::port, &_REDIS_NODE_::passwd,
          &_REDIS_NODE_::poolsize, &_REDIS_NODE_::timeout, &_REDIS_NODE_::role, &xRedisClient::Init,
          &xRedisClient::ConnectRedisCache, &xRedisClient::exists, &xRedisClient::del,
          &xRedisClient::setex, &xRedisClient::Keepalive, &RedisDBIdx::CreateDBIndex> &&
    HasTypes<RedisPool, RedisCache, RedisDBSlice, RedisConn>);

}  // namespace

void UseTheBaseLibrary(cJSON* item, char* text) {
    CIniFile file("LobbyServer.cfg");
    file.SetValueStr("section", "key", "value", true);
    CLogCls log("path", false, false, true);
    log.InitLog("path", false, false, true);
    GLogService& process = g_log;
    process._log_2(text, -1);
    digest::MD5_CTX context;
    MD5Init(&context);
    const auto less = [](int, int, void*) { return 0; };
    const auto swap = [](int, int, void*) {};
    qsort(0, 1, nullptr, less, swap);
    qsort(text, 2, 1, [](const void*, const void*) { return 0; });
    CJsonPack wrapped(item), parsed(text), child(&parsed), copy(parsed);
    xRedisClient client;
    RedisDBIdx index(&client);
}
