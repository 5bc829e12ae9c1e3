#include "Game/Reconnect.h"

#include <unistd.h>

#include <new>

#include "NodeManager/NodeRecords.h"
#include "ThreadStack.h"

namespace {

constexpr long kSliceMs = 10;

}  // namespace

Reconnect::Reconnect(long retryMs)
    : m_lRetryMs(retryMs),
      m_lpHostList(NodeManager<HostList>::CreateInstance(NODE_LINK, 0)),
      m_lpFactory(NodeFactory<HostList>::CreateInstance()) {}

Reconnect::~Reconnect() {
    Stop();
    HostList* request = nullptr;
    while (m_lpHostList->GetNode(&request, 1) > 0)
        m_lpFactory->FreeNode(request);
    m_lpHostList->Release();
    m_lpFactory->Release();
}

bool Reconnect::Start() {
    if (m_bStart) return true;
    if (!m_event.Init(false, false)) return false;
    m_bExit = false;
    // Before the thread runs: clearing the flag is the last thing it does.
    m_bStart = true;
    if (!CreateThread(nullptr, 0, ThreadProc, this)) m_bStart = false;
    return m_bStart;
}

// The thread is detached, so that its own flag says when it has gone; it looks at m_bExit within
// one slice of its sleep, but a connect under way has to be cancelled by whoever stops.
bool Reconnect::Stop() {
    if (m_bStart) {
        m_bExit = true;
        m_event.Set();
        while (m_bStart)
            usleep(1000);
    }
    return true;
}

bool Reconnect::SetParameter(void* param, int type) {
    HostList* request = nullptr;
    try {
        request = m_lpFactory->CreateNode();
    } catch (const std::bad_alloc&) {
        return false;
    }
    request->lpcbParam = param;
    request->iType = type;
    return m_lpHostList->SetNode(&request, 1) == 1 && m_event.Set();
}

void* Reconnect::ThreadProc(void* self) {
    ThreadStack stack("keeper");
    static_cast<Reconnect*>(self)->DoConnect();
    return nullptr;
}

// A request that fails goes behind the others, and the next try comes a second later whichever link
// that is: of six links that are away each is dialled every six seconds at best.
void Reconnect::DoConnect() {
    while (!m_bExit) {
        m_event.Wait();
        HostList* request = nullptr;
        while (m_lpHostList->GetNode(&request, 1) > 0) {
            if (m_bExit || OnConnected(request->lpcbParam, request->iType)) {
                m_lpFactory->FreeNode(request);
                continue;
            }
            m_lpHostList->SetNode(&request, 1);
            SleepBeforeRetry();
        }
    }
    // The owner may destroy the keeper from here on.
    m_bStart = false;
}

void Reconnect::SleepBeforeRetry() const {
    for (long slept = 0; slept < m_lRetryMs && !m_bExit; slept += kSliceMs)
        usleep(kSliceMs * 1000);
}
