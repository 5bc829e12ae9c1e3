// Names of the network framework.
#include "EPOLLBuffer.h"
#include "EPOLLMessager.h"
#include "EPOLLServer.h"
#include "Epoll/EPOLLContext.h"
#include "Game/NetGame.h"
#include "Game/PlayerNode.h"
#include "Game/Reconnect.h"
#include "HandShark.h"
#include "Names.h"
#include "NetSender.h"
#include "NodeManager/NodeRecords.h"

namespace {

using Node = IPlayerNode;
using Context = EPOLLContext;

static_assert(HEADER_SIZE == 8 && BUFFER_SIZE == 4096 && SEND_BUFFER == 4096);
static_assert(Named<&tagMsgHeader::identity, &tagMsgHeader::encode, &tagMsgHeader::length,
                    &tagMsgHeader::version, &tagMsgHeader::reserve, &tagMsgHeader::type>);
static_assert(Named<As<char* (NetSender::*)(unsigned short, void*, long&, long, char*, long)>(
                  &NetSender::FillHeader)>);

// Pools.
static_assert(
    Named<&tagSendBuffer::ulReferenceCount, &tagSendBuffer::ulLength, &tagSendBuffer::szSendBuffer,
          &tagSendBuffer::__p_next, &DataBuffer::lpContext, &DataBuffer::buffer,
          &DataBuffer::lLength, &HostList::lpcbParam, &HostList::iType, &g_SendFactory>);
using Factory = NodeFactory<HostList>;
using Queue = NodeManager<HostList>;
static_assert(
    Named<&Factory::CreateInstance, &Factory::CreateNode, &Factory::FreeNode, &Factory::Release,
          &Queue::CreateInstance, &Queue::SetNode, &Queue::GetNode, &Queue::Release>);
static_assert(HasTypes<NodeRecycle<HostList>, NodeAllocate<HostList>, NodeDBLink<HostList>,
                       NodeDBRound<HostList>>);

// Reactor.
using Open = Context* (EPOLLNet::*)(bool, const char*, unsigned short, unsigned long, unsigned long,
                                    long, long, long);
using OpenAt = Context* (EPOLLNet::*)(bool, sockaddr_in&, unsigned long, unsigned long, long, long,
                                      long);
static_assert(Named<&EPOLLNet::Initialize, &EPOLLNet::Shutdown, As<Open>(&EPOLLNet::Create),
                    As<OpenAt>(&EPOLLNet::Create)>);
static_assert(Named<&Epoll::IsShutdown, &Epoll::CloseAllConnections, &Epoll::OnConnectionClosed,
                    &Epoll::OnReadCompleted, &Epoll::OnCreateConnection,
                    &Epoll::OnMaxLimitConnection, &Epoll::OnConnectionEstablished,
                    &Epoll::AddAConnection, &Epoll::FreeConnection, &dns2ip, &atomic_add>);
static_assert(
    Named<&Context::SetContextAssociate, &Context::GetContextAssociate, &Context::GetContextAddrIn,
          &Context::RecvData,
          As<long (Context::*)(void*, long, bool, sockaddr_in*)>(&Context::SendData),
          As<long (Context::*)(void*, long, bool, char*, unsigned short)>(&Context::SendData),
          &Context::Shutdown, &Context::CloseContext, &Context::IsClosed, &Context::setsockopt,
          &Context::getsockopt, &Context::SetKeepAlive, &Context::SetCustomHeader,
          &Context::SetRecvAll, &Context::Initialize, &Context::Release>);
static_assert(Named<&EPOLLConnection::SendWebSocketData, &EPOLLConnection::GetWebStocketStatus,
                    &EPOLLConnection::SetWebSocketStatus, &EPOLLContextManager::AllocateContext,
                    &EPOLLBufferManager::AllocateBuffer>);
static_assert(HasTypes<EPOLLReceiver, EPOLLBuffer>);

// Message worker.
static_assert(Named<&EPOLLServer::OnCreateConnection, &EPOLLServer::OnConnectionEstablished,
                    &EPOLLServer::OnReadCompleted, &EPOLLServer::OnConnectionClosed,
                    &EPOLLServer::ReleaseContext, &EPOLLMessager::OnCreateContext,
                    &INetMessager::OnReadCompleted, &INetMessager::OnConnectionClosed,
                    &INetMessager::OnTimer, &INetMessager::OnCreateContext>);

// Send path.
using Send = bool (INetSender::*)(Node*, unsigned short, void*, long, long);
using SendRaw = bool (INetSender::*)(Node*, void*, long);
using Mass = void* (INetSender::*)(unsigned long, unsigned short, void*, long, long);
using MassRaw = void* (INetSender::*)(unsigned long, void*, long);
static_assert(Named<&INetSender::Initialize, As<Send>(&INetSender::SendData),
                    As<SendRaw>(&INetSender::SendData), As<Mass>(&INetSender::AllocMassData),
                    As<MassRaw>(&INetSender::AllocMassData), &INetSender::SendMassData,
                    &INetSender::Close, &INetSender::OnClosed>);

// What an application derives from, and a provider of the two operations and those of its base.
struct Provider : INetProvider {
    bool Initialize(unsigned long, unsigned long, unsigned long) override { return true; }
    bool Initialize(unsigned long, unsigned long, unsigned long, unsigned long,
                    unsigned long) override {
        return true;
    }
    void Shutdown() override {}
    Context* Create(bool, const char*, unsigned short, unsigned long, unsigned long, long, long,
                    long) override {
        return nullptr;
    }
    Context* Create(bool, sockaddr_in&, unsigned long, unsigned long, long, long, long) override {
        return nullptr;
    }
    void ReleaseContext(Context*) override {}
};
struct Application : GameProvider {
    long Start() override { return 0; }
    Node* OnCreatePlayer() override { return new PlayerNode; }
};
struct Keeper : Reconnect {
    bool OnConnected(void*, int) override { return true; }
};
using App = GameProvider;
static_assert(
    Named<&App::Initialize, &App::Shutdown, &App::RecvData, &App::AllocMassData, &App::SendMassData,
          &App::Close, &App::GetPlayerAddrIn, &App::dns2ip, &App::atomic_inc, &App::atomic_dec,
          &App::atomic_xchg, &App::Start, &App::OnReadComplete, &App::OnNetMessage, &App::OnClosed,
          &App::OnTimer, &App::OnCreatePlayer, &App::GetEncodeName, &App::Encode, &App::Decode,
          &Reconnect::Start, &Reconnect::Stop, &Reconnect::SetParameter, &PlayerNode::Initialize,
          &PlayerNode::Release, &PlayerNode::SetContext, &PlayerNode::GetContext>);

// WebSocket.
using Request = Websocket_Request;
static_assert(
    Named<&Request::get_opcode, &Request::reset, &Request::print, &SHA1::Reset, &SHA1::Input,
          &SHA1::Result, &base64_encode, &base64_decode, &FetchHttpInfo, &ParseStr>);

}  // namespace

void UseTheFramework(IGameProvider* provider, char* frame) {
    Provider net;
    NetSender sender(&net, provider, 100);
    EPOLLMessager messager(provider, 100);
    EPOLLServer server(nullptr, &messager, 0);
    server.Initialize(20, 120, 0, 0, 0);
    Application application;
    Keeper keeper;
    IGameProvider* const facade = &application;
    facade->OnClosed(nullptr, keeper.Start());
    HEADER_MAP headers;
    Request request;
    request.fetch_websocket_info(frame);
    request.reset();
    request.fetch_fin(frame);
    request.fetch_opcode(frame);
    request.fetch_mask(frame);
    request.fetch_payload_length(frame);
    request.fetch_masking_key(frame);
    request.fetch_payload(frame);
}
