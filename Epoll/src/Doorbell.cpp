#include "Doorbell.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

Doorbell::~Doorbell() {
    if (m_iEvent >= 0) ::close(m_iEvent);
}

bool Doorbell::Open(int epoll) {
    m_iEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    epoll_event event{};
    event.events = EPOLLIN | EPOLLET;  // every ring is an edge of its own: nobody need read it
    return m_iEvent >= 0 && ::epoll_ctl(epoll, EPOLL_CTL_ADD, m_iEvent, &event) == 0;
}

void Doorbell::Ring() {
    if (m_bAsleep.load() && m_bAsleep.exchange(false)) ::eventfd_write(m_iEvent, 1);
}
