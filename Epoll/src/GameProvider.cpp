// The facade over messager, reactor and sender.
//
// Initialize makes the three, unless a test brought its own, and starts their threads; until then
// nothing can be opened. Create, RecvData and Close work on nodes, each bound to its connection for
// life. Shutdown ends the threads in order and is repeated harmlessly by the destructor, which
// alone frees the three: late calls find them, and fail.
#include "Game/NetGame.h"

#include <linux/filter.h>

#include <algorithm>

#include "EPOLLMessager.h"
#include "EPOLLServer.h"
#include "Epoll.h"
#include "NetSender.h"
#include "aes.h"

namespace {

IPlayerNode* NodeOf(EPOLLContext* context) {
    if (context == nullptr) return nullptr;
    return reinterpret_cast<IPlayerNode*>(context->GetContextAssociate());
}

EPOLLContext* ContextOf(IPlayerNode* node) {
    EPOLLContext* context = nullptr;
    return node != nullptr && node->GetContext(&context) ? context : nullptr;
}

// Contexts are recycled among links and clients; 0 is the default, which is less.
unsigned long LargestRing(unsigned long links, unsigned long clients) {
    return clients != 0 ? std::max({links, clients, kDefaultRing}) : links;
}

using Cipher = int (*)(const void*, int, const void*, int, void*, int*);

// What Encode and Decode have in common; codec 0 never gets here in regular use. The cipher writes
// `growth` bytes more than it reads and does not look at the capacity itself.
long Transform(Cipher cipher, long growth, const char* src, long length, long encode, char* dst,
               long capacity) {
    if (length == 0) return 0;
    if (src == nullptr || length < 0 || dst == nullptr || capacity <= 0 || encode != ENCODE_AES ||
        length + growth > capacity) {
        return -1;
    }
    int written = static_cast<int>(capacity);
    return cipher(src, static_cast<int>(length), nullptr, 0, dst, &written) == 0 ? written : -1;
}

}  // namespace

GameProvider::GameProvider(NetParts parts)
    : m_lpNetMessager(parts.messager.release()),
      m_lpNetProvider(parts.provider.release()),
      m_lpNetSender(parts.sender.release()) {}

GameProvider::~GameProvider() {
    try {
        Shutdown();
        delete m_lpNetProvider;
        delete m_lpNetMessager;
        delete m_lpNetSender;
    } catch (...) {  // nothing can be done about it here
    }
}

bool GameProvider::Initialize(unsigned long maxRecvCount, unsigned long maxSendCount,
                              unsigned long interval, unsigned long timeout, unsigned long threads,
                              unsigned long contexts, unsigned long buffers) {
    if (m_lpNetMessager == nullptr && m_lpNetProvider == nullptr && m_lpNetSender == nullptr) {
        m_lpNetMessager =
            new EPOLLMessager(this, LargestRing(maxSendCount, m_Limits.clientSendCount));
        auto* server = new EPOLLServer(this, m_lpNetMessager, maxRecvCount);
        server->SetWakeup(m_bWakeup);
        server->SetWebSocket(m_bWebSocket);
        server->SetReusePort(m_bReusePort);
        server->SetReceiveBuffer(m_iReceiveBuffer);
        server->SetProxyTrust(std::move(m_Trust));
        server->SetLimits(m_Limits);
        m_lpNetProvider = server;
        m_lpNetSender = new NetSender(m_lpNetProvider, this, maxSendCount, m_Limits);
    }
    if (m_lpNetSender == nullptr || m_lpNetProvider == nullptr) return false;
    return m_lpNetSender->Initialize() &&
           m_lpNetProvider->Initialize(interval, timeout, threads, contexts, buffers);
}

void GameProvider::Shutdown() {
    if (m_lpNetProvider != nullptr) m_lpNetProvider->Shutdown();
}

void GameProvider::CancelConnects() {
    if (m_lpNetProvider != nullptr) m_lpNetProvider->CancelConnects();
}

void GameProvider::WakeWorker() {
    if (m_lpNetProvider != nullptr) m_lpNetProvider->WakeWorker();
}

IPlayerNode* GameProvider::Create(bool listen, const char* host, unsigned short port,
                                  unsigned long connectTimeoutMs, unsigned long maxConnections,
                                  long family, long type, long protocol) {
    if (m_lpNetProvider == nullptr) return nullptr;
    return NodeOf(m_lpNetProvider->Create(listen, host, port, connectTimeoutMs, maxConnections,
                                          family, type, protocol));
}

IPlayerNode* GameProvider::Create(bool listen, sockaddr_in& addr, unsigned long connectTimeoutMs,
                                  unsigned long maxConnections, long family, long type,
                                  long protocol) {
    if (m_lpNetProvider == nullptr) return nullptr;
    return NodeOf(m_lpNetProvider->Create(listen, addr, connectTimeoutMs, maxConnections, family,
                                          type, protocol));
}

bool GameProvider::RecvData(IPlayerNode* node) {
    EPOLLContext* context = ContextOf(node);
    return context != nullptr && context->RecvData();
}

// The sockets of a port are numbered in the order they joined, and the system asks this program for
// the number. One that does not exist leaves the choice to the system.
bool GameProvider::PassOnConnects(IPlayerNode* listener) {
    EPOLLContext* context = ContextOf(listener);
    if (context == nullptr || !m_bReusePort) return false;
    constexpr uint32_t kSecond = 1;
    sock_filter code[] = {{BPF_RET | BPF_K, 0, 0, kSecond}};
    const sock_fprog program{1, code};
    return context->setsockopt(SOL_SOCKET, SO_ATTACH_REUSEPORT_CBPF,
                               reinterpret_cast<const char*>(&program), sizeof(program)) == 0;
}

bool GameProvider::SendData(IPlayerNode* node, unsigned short type, void* data, long length,
                            long encode) {
    return m_lpNetSender != nullptr && m_lpNetSender->SendData(node, type, data, length, encode);
}

bool GameProvider::SendIfRoom(IPlayerNode* node, unsigned short type, void* data, long length,
                              long encode, long room) {
    return m_lpNetSender != nullptr &&
           m_lpNetSender->SendIfRoom(node, type, data, length, encode, room);
}

bool GameProvider::SendData(IPlayerNode* node, void* data, long length) {
    return m_lpNetSender != nullptr && m_lpNetSender->SendData(node, data, length);
}

bool GameProvider::SendControl(IPlayerNode* node, unsigned char opcode, const void* data,
                               long length) {
    return m_lpNetSender != nullptr && m_lpNetSender->SendControl(node, opcode, data, length);
}

void* GameProvider::AllocMassData(unsigned long count, unsigned short type, void* data, long length,
                                  long encode) {
    if (m_lpNetSender == nullptr) return nullptr;
    return m_lpNetSender->AllocMassData(count, type, data, length, encode);
}

bool GameProvider::SendMassData(IPlayerNode* node, void* massData) {
    return m_lpNetSender != nullptr && m_lpNetSender->SendMassData(node, massData);
}

void GameProvider::Close(IPlayerNode* node) {
    if (m_lpNetSender != nullptr) m_lpNetSender->Close(node);
}

unsigned long GameProvider::dns2ip(const char* host) {
    return ::dns2ip(host);
}

long GameProvider::atomic_inc(long volatile* value) {
    return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
}

long GameProvider::atomic_dec(long volatile* value) {
    return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
}

long GameProvider::atomic_xchg(long volatile* value, long next) {
    return __atomic_exchange_n(value, next, __ATOMIC_SEQ_CST);
}

bool GameProvider::OnReadComplete(IPlayerNode*, void*&, long&, void*, long) {
    return false;
}

void GameProvider::OnNetMessage(IPlayerNode*, unsigned short, void*, long) {}

void GameProvider::OnClosed(IPlayerNode* node, bool) {
    if (m_lpNetSender != nullptr) m_lpNetSender->OnClosed(node);
}

void GameProvider::OnTimer(long) {}

unsigned long GameProvider::GetPlayerAddrIn(IPlayerNode* node, sockaddr_in* addr, bool local) {
    EPOLLContext* context = ContextOf(node);
    if (context == nullptr) return ~0UL;
    const sockaddr_in* found = context->GetContextAddrIn(local);
    if (addr != nullptr) *addr = *found;
    return found->sin_addr.s_addr;
}

const char* GameProvider::GetEncodeName(long encode) {
    if (encode == ENCODE_NONE) return "NONE";
    return encode == ENCODE_AES ? "AES" : "Unknown";
}

long GameProvider::Encode(char* src, long length, long encode, char* dst, long capacity) {
    return Transform(aes_enc_r, AES_BLOCK_BYTES, src, length, encode, dst, capacity);
}

long GameProvider::Decode(char* src, long length, long encode, char* dst, long capacity) {
    return Transform(aes_dec_r, -AES_BLOCK_BYTES, src, length, encode, dst, capacity);
}
