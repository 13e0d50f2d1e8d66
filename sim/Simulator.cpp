#include "sim/Simulator.h"
#include "sim/Listener.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Vaxo::Sim {
namespace {

bool sendAll(int fd, const std::uint8_t* p, std::size_t n) {
    while (n > 0) {
        const ssize_t w = ::send(fd, p, n, MSG_NOSIGNAL);
        if (w < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        p += w;
        n -= static_cast<std::size_t>(w);
    }
    return true;
}

} // namespace

Simulator::Simulator(Config cfg) : ctl_(cfg) {}

Simulator::~Simulator() { stop(); }

std::uint16_t Simulator::start(std::uint16_t port) {
    if (listenFd_ >= 0) return port_;
    std::uint16_t bound = 0;
    const int fd = listenOnLoopback(port, 64, bound);
    if (fd < 0) return 0;
    wakeFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        ::close(fd);
        return 0;
    }
    listenFd_ = fd;
    port_ = bound;
    stopping_ = false;
    acceptThread_ = std::thread([this] { acceptLoop(); });
    return port_;
}

void Simulator::stop() {
    if (listenFd_ < 0) return;
    {
        std::lock_guard lock(sleepMutex_);
        stopping_ = true;
    }
    sleepCv_.notify_all();
    const std::uint64_t one = 1;
    [[maybe_unused]] ssize_t w = ::write(wakeFd_, &one, sizeof one);
    if (acceptThread_.joinable()) acceptThread_.join();
    ::close(listenFd_);
    ::close(wakeFd_);
    listenFd_ = wakeFd_ = -1;
    closeConnections();
    reap(true);
    port_ = 0;
}

void Simulator::acceptLoop() {
    pollfd fds[2] = {{listenFd_, POLLIN, 0}, {wakeFd_, POLLIN, 0}};
    while (!stopping_) {
        const int r = ::poll(fds, 2, 1000);
        if (r < 0 && errno != EINTR) break;
        if (stopping_) break;
        reap(false);
        if (r <= 0 || !(fds[0].revents & POLLIN)) continue;
        const int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;
        const int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        auto conn = std::make_unique<Connection>();
        conn->fd = fd;
        Connection& ref = *conn;
        const std::uint32_t id = ctl_.nextConnection();
        std::lock_guard lock(connMutex_);
        conns_.push_back(std::move(conn));
        ref.thread = std::thread([this, &ref, id] { serve(ref, id); });
    }
}

void Simulator::reap(bool all) {
    std::list<std::unique_ptr<Connection>> finished;
    {
        std::lock_guard lock(connMutex_);
        for (auto it = conns_.begin(); it != conns_.end();) {
            if (all || (*it)->done) {
                finished.push_back(std::move(*it));
                it = conns_.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (auto& c : finished) {
        if (c->thread.joinable()) c->thread.join();
        ::close(c->fd);
    }
}

void Simulator::closeConnections() {
    std::lock_guard lock(connMutex_);
    for (auto& c : conns_) ::shutdown(c->fd, SHUT_RDWR);
}

std::size_t Simulator::connectionCount() const {
    std::lock_guard lock(connMutex_);
    return static_cast<std::size_t>(std::count_if(conns_.begin(), conns_.end(), [](const auto& c) { return !c->done; }));
}

bool Simulator::pause(std::chrono::milliseconds d) {
    if (d.count() <= 0) return !stopping_;
    std::unique_lock lock(sleepMutex_);
    return !sleepCv_.wait_for(lock, d, [this] { return stopping_.load(); });
}

void Simulator::serve(Connection& conn, std::uint32_t id) {
    Session session(ctl_, id);
    std::vector<std::uint8_t> buf(64 * 1024);
    std::vector<std::uint8_t> pending;
    Outgoing out;
    bool open = true;
    while (open) {
        const ssize_t n = ::recv(conn.fd, buf.data(), buf.size(), 0);
        socketReads_.fetch_add(1, std::memory_order_relaxed);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        session.feed(buf.data(), static_cast<std::size_t>(n));
        while (open && session.next(out)) {
            if (!out.effects.any()) {  // replies of one batch go out in one write
                pending.insert(pending.end(), out.bytes.begin(), out.bytes.end());
                continue;
            }
            const FaultEffects& fx = out.effects;
            if (!pending.empty() && !sendAll(conn.fd, pending.data(), pending.size())) open = false;
            pending.clear();
            if (!open || !pause(fx.delay)) break;
            const std::size_t count = std::min({out.bytes.size(), fx.stopAfter, fx.closeAfter});
            if (fx.perByte.count() > 0) {
                for (std::size_t i = 0; i < count && open; i += fx.piece)
                    open = sendAll(conn.fd, &out.bytes[i], std::min(fx.piece, count - i)) && pause(fx.perByte);
            } else if (count > 0) {
                open = sendAll(conn.fd, out.bytes.data(), count);
            }
            if (fx.closeAfter != FaultEffects::kNever) open = false;
            // Nothing that arrives meanwhile is answered: the controller is busy sending.
            while (open && !fx.endless.empty())
                open = sendAll(conn.fd, reinterpret_cast<const std::uint8_t*>(fx.endless.data()), fx.endless.size()) &&
                       pause(std::chrono::milliseconds(1));
        }
        if (open && !pending.empty()) open = sendAll(conn.fd, pending.data(), pending.size());
        pending.clear();
    }
    ::shutdown(conn.fd, SHUT_RDWR);
    conn.done = true;
}

double Simulator::vr(std::uint32_t index) const {
    std::lock_guard lock(ctl_.mutex());
    auto& m = const_cast<Controller&>(ctl_).vr();
    return index < m.size() ? m[index] : 0.0;
}

void Simulator::setVr(std::uint32_t index, double v) {
    std::lock_guard lock(ctl_.mutex());
    if (index < ctl_.vr().size()) ctl_.vr()[index] = v;
}

double Simulator::table(std::uint32_t index) const {
    std::lock_guard lock(ctl_.mutex());
    auto& m = const_cast<Controller&>(ctl_).tableMemory();
    return index < m.size() ? m[index] : 0.0;
}

void Simulator::setTable(std::uint32_t index, double v) {
    std::lock_guard lock(ctl_.mutex());
    if (index < ctl_.tableMemory().size()) ctl_.tableMemory()[index] = v;
}

double Simulator::systemParameter(std::string_view name) const {
    const TokenEntry* e = ctl_.table().find(name, 'V');
    std::lock_guard lock(ctl_.mutex());
    return e ? ctl_.systemParameter(e->code) : 0.0;
}

void Simulator::setSystemParameter(std::string_view name, double v) {
    const TokenEntry* e = ctl_.table().find(name, 'V');
    std::lock_guard lock(ctl_.mutex());
    if (e) ctl_.setSystemParameter(e->code, v);
}

double Simulator::parameter(std::string_view name, std::string_view modifier, std::uint32_t index) const {
    const TokenEntry* e = ctl_.table().find(name, 'V');
    const TokenEntry* m = ctl_.table().find(modifier, 'M');
    std::lock_guard lock(ctl_.mutex());
    return e && m ? ctl_.modifiedParameter(e->code, m->code, index) : 0.0;
}

void Simulator::setParameter(std::string_view name, std::string_view modifier, std::uint32_t index, double v) {
    const TokenEntry* e = ctl_.table().find(name, 'V');
    const TokenEntry* m = ctl_.table().find(modifier, 'M');
    std::lock_guard lock(ctl_.mutex());
    if (e && m) ctl_.setModifiedParameter(e->code, m->code, index, v);
}

} // namespace Vaxo::Sim
