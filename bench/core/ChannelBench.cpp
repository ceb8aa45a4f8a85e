// Channel round trip between two processes: the job-option queue
// (CMsgQueueSender here, CMsgQueueEx::RecvMsgLoop in a child whose handler
// answers at once) beside a plain pipe ping-pong and a Unix-socket
// ping-pong with children of the same binary, in the same run.
//
// The side-by-side benchmark does one exchange of each kind per iteration,
// so all three see the same machine load; its counters give the medians and
// the queue's ratio to the pipe.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <thread>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/TextConvert.h"
#include "support/BenchSupport.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"

using namespace orvbench;
using OrvUtility::CMsgQueueEx;
using OrvUtility::CMsgQueueLayout;
using OrvUtility::CMsgQueueSender;

namespace {

const uint32_t SEND_TIMEOUT_MS = 30000;

bool ReadByte(int iFd, char& c)
{
    for (;;) {
        const ssize_t n = read(iFd, &c, 1);
        if (n == 1) {
            return true;
        }
        if (n < 0 && errno == EINTR) {
            continue;
        }
        return false;
    }
}

bool WriteByte(int iFd, char c)
{
    for (;;) {
        const ssize_t n = write(iFd, &c, 1);
        if (n == 1) {
            return true;
        }
        if (n < 0 && errno == EINTR) {
            continue;
        }
        return false;
    }
}

// One byte there and back.
bool PingPong(int iWriteFd, int iReadFd)
{
    char c = 'x';
    return WriteByte(iWriteFd, c) && ReadByte(iReadFd, c);
}

// ---------------------------------------------------------------- peers

struct CEchoPeer {
    pid_t pid = -1;
    int iWriteFd = -1; // to the child
    int iReadFd = -1;  // from the child
};

// A child that echoes every byte: over two pipes, or over one socket.
bool StartEchoPeer(bool bSocket, CEchoPeer& peer)
{
    if (bSocket) {
        int aiPair[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, aiPair) != 0) {
            return false;
        }
        peer.pid = SpawnChild("echo", {}, {aiPair[1], aiPair[1]});
        close(aiPair[1]);
        peer.iWriteFd = peer.iReadFd = aiPair[0];
    } else {
        int aiToChild[2];
        int aiFromChild[2];
        if (pipe2(aiToChild, O_CLOEXEC) != 0 || pipe2(aiFromChild, O_CLOEXEC) != 0) {
            return false;
        }
        peer.pid = SpawnChild("echo", {}, {aiToChild[0], aiFromChild[1]});
        close(aiToChild[0]);
        close(aiFromChild[1]);
        peer.iWriteFd = aiToChild[1];
        peer.iReadFd = aiFromChild[0];
    }
    // The first exchange waits for the child to be up.
    return peer.pid > 0 && PingPong(peer.iWriteFd, peer.iReadFd);
}

void StopEchoPeer(CEchoPeer& peer)
{
    if (peer.iWriteFd >= 0) {
        close(peer.iWriteFd);
    }
    if (peer.iReadFd >= 0 && peer.iReadFd != peer.iWriteFd) {
        close(peer.iReadFd);
    }
    StopProcess(peer.pid);
    peer = CEchoPeer();
}

// A sender reduced to the protocol's own steps, on the same receiver:
// write the request and its length, set the request event, wait for the
// response event, read the result code. No senders' mutex, no presence
// check per request (the receiver is known to be there). The difference to
// CMsgQueueSender is the sending tool's own work; what remains above the
// pipe is the receiver's.
class CMinimalSender {
public:
    explicit CMinimalSender(const std::wstring& strBase)
        : m_layout(CMsgQueueLayout::JOB_REQUEST_CAPACITY, CMsgQueueLayout::JOB_RESPONSE_CAPACITY)
    {
        const std::pair<OrvUtility::NamedHandle, uint8_t*> mapping =
            OrvUtility::OpenOrCreateFileMapping(CMsgQueueLayout::BlockName(strBase), m_layout.BlockSize());
        m_hBlock = mapping.first;
        m_pbyBlock = mapping.second;
        m_hSend = OrvUtility::OpenOrCreateEvent(CMsgQueueLayout::SendEventName(strBase));
        m_hResponse = OrvUtility::OpenOrCreateEvent(CMsgQueueLayout::ResponseEventName(strBase));
    }
    ~CMinimalSender()
    {
        if (m_pbyBlock) {
            OrvUtility::UnmapSharedBlock(m_pbyBlock);
        }
        for (OrvUtility::NamedHandle h : {m_hBlock, m_hSend, m_hResponse}) {
            if (h) {
                OrvUtility::CloseNamedObject(h);
            }
        }
    }
    CMinimalSender(const CMinimalSender&) = delete;
    CMinimalSender& operator=(const CMinimalSender&) = delete;

    bool IsOpen() const { return m_hBlock && m_pbyBlock && m_hSend && m_hResponse; }

    bool Exchange(const uint8_t* pbyRequest, uint64_t uiLength)
    {
        std::memcpy(m_pbyBlock + m_layout.RequestOffset(), pbyRequest, static_cast<size_t>(uiLength));
        std::memcpy(m_pbyBlock + m_layout.RequestLengthOffset(), &uiLength, sizeof(uiLength));
        if (!OrvUtility::SetNamedEvent(m_hSend) ||
            OrvUtility::WaitForNamedEvent(m_hResponse, SEND_TIMEOUT_MS) != OrvUtility::NAMED_WAIT_OBJECT_0) {
            return false;
        }
        uint32_t uiResult = 0xFFFFFFFFu;
        std::memcpy(&uiResult, m_pbyBlock + m_layout.ResultCodeOffset(), sizeof(uiResult));
        return uiResult == CMsgQueueLayout::RESULT_SERVED;
    }

private:
    CMsgQueueLayout m_layout;
    OrvUtility::NamedHandle m_hBlock = nullptr;
    uint8_t* m_pbyBlock = nullptr;
    OrvUtility::NamedHandle m_hSend = nullptr;
    OrvUtility::NamedHandle m_hResponse = nullptr;
};

// The smallest legal request: no printer, no project.
const uint8_t* EmptyRequest()
{
    static const uint8_t s_aby[8] = {0};
    return s_aby;
}

struct CQueuePeer {
    pid_t pid = -1;
    int iLifelineFd = -1; // closing it makes the child signal its quit event
    std::unique_ptr<CMsgQueueSender> pSender;
    std::unique_ptr<CMinimalSender> pMinimal;
};

// A child serving the queue with the given logging, and this process's
// sender on it.
bool StartQueuePeer(ELogging eReceiverLogging, CQueuePeer& peer)
{
    const std::string strBase =
        "OrvBench_" + std::to_string(getpid()) + "_" + LoggingName(eReceiverLogging);
    int aiLifeline[2];
    if (pipe2(aiLifeline, O_CLOEXEC) != 0) {
        return false;
    }
    peer.pid = SpawnChild("queue", {strBase, LoggingName(eReceiverLogging)}, {aiLifeline[0]});
    close(aiLifeline[0]);
    peer.iLifelineFd = aiLifeline[1];
    if (peer.pid <= 0) {
        return false;
    }
    peer.pSender.reset(new CMsgQueueSender(Language::WideFromUtf8(strBase)));
    peer.pMinimal.reset(new CMinimalSender(Language::WideFromUtf8(strBase)));
    if (!peer.pSender->IsOpen() || !peer.pMinimal->IsOpen()) {
        return false;
    }
    for (int iTry = 0; iTry < 3000 && !peer.pSender->IsReceiverPresent(); ++iTry) {
        usleep(5000);
    }
    // A few exchanges first: the block's pages and both processes' code are
    // warm before anything is timed.
    CMsgQueueSender::REPLY reply;
    for (int i = 0; i < 20; ++i) {
        if (peer.pSender->Send(EmptyRequest(), 8, SEND_TIMEOUT_MS, reply) != CMsgQueueSender::SEND_ANSWERED ||
            !peer.pMinimal->Exchange(EmptyRequest(), 8)) {
            return false;
        }
    }
    return true;
}

void StopQueuePeer(CQueuePeer& peer)
{
    if (peer.iLifelineFd >= 0) {
        close(peer.iLifelineFd);
    }
    // The child ends its loop with the quit event; give it a moment.
    for (int iTry = 0; iTry < 200 && peer.pid > 0; ++iTry) {
        int iStatus = 0;
        if (waitpid(peer.pid, &iStatus, WNOHANG) == peer.pid) {
            peer.pid = -1;
            break;
        }
        usleep(5000);
    }
    StopProcess(peer.pid);
    peer = CQueuePeer();
}

// Peers live for the whole run (started on first use).
CEchoPeer* PipePeer()
{
    static CEchoPeer s_peer;
    static bool s_bStarted = false;
    if (!s_bStarted) {
        s_bStarted = true;
        if (!StartEchoPeer(false, s_peer)) {
            StopEchoPeer(s_peer);
        }
        AtRunEnd([]() { StopEchoPeer(s_peer); });
    }
    return s_peer.pid > 0 ? &s_peer : nullptr;
}

CEchoPeer* SocketPeer()
{
    static CEchoPeer s_peer;
    static bool s_bStarted = false;
    if (!s_bStarted) {
        s_bStarted = true;
        if (!StartEchoPeer(true, s_peer)) {
            StopEchoPeer(s_peer);
        }
        AtRunEnd([]() { StopEchoPeer(s_peer); });
    }
    return s_peer.pid > 0 ? &s_peer : nullptr;
}

CQueuePeer* QueuePeer(ELogging eReceiverLogging)
{
    static std::map<ELogging, CQueuePeer> s_mapPeers;
    auto it = s_mapPeers.find(eReceiverLogging);
    if (it == s_mapPeers.end()) {
        it = s_mapPeers.emplace(eReceiverLogging, CQueuePeer()).first;
        CQueuePeer& peer = it->second;
        if (!StartQueuePeer(eReceiverLogging, peer)) {
            StopQueuePeer(peer);
        }
        AtRunEnd([eReceiverLogging]() { StopQueuePeer(s_mapPeers[eReceiverLogging]); });
    }
    return it->second.pid > 0 ? &it->second : nullptr;
}

bool QueueExchange(CQueuePeer& peer, const uint8_t* pbyRequest, uint64_t uiLength,
                   CMsgQueueSender::REPLY& reply)
{
    return peer.pSender->Send(pbyRequest, uiLength, SEND_TIMEOUT_MS, reply) == CMsgQueueSender::SEND_ANSWERED &&
           reply.uiResultCode == CMsgQueueLayout::RESULT_SERVED;
}

// ---------------------------------------------------------------- benchmarks

void BM_PipePingPong(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    CEchoPeer* pPeer = PipePeer();
    if (!pPeer) {
        state.SkipWithError("pipe peer did not start");
        return;
    }
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        if (!PingPong(pPeer->iWriteFd, pPeer->iReadFd)) {
            state.SkipWithError("pipe exchange failed");
            break;
        }
        samples.Add(NowNs() - t0);
    }
    samples.Report(state);
}

void BM_SocketPingPong(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    CEchoPeer* pPeer = SocketPeer();
    if (!pPeer) {
        state.SkipWithError("socket peer did not start");
        return;
    }
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        if (!PingPong(pPeer->iWriteFd, pPeer->iReadFd)) {
            state.SkipWithError("socket exchange failed");
            break;
        }
        samples.Add(NowNs() - t0);
    }
    samples.Report(state);
}

void BM_QueueRoundTrip(benchmark::State& state, ELogging eReceiverLogging, bool bLargest, bool bMinimal)
{
    UseLogging(ELogging::OFF); // the sender is the printing service's side
    CQueuePeer* pPeer = QueuePeer(eReceiverLogging);
    if (!pPeer) {
        state.SkipWithError("queue receiver did not start");
        return;
    }
    const uint8_t* pbyRequest = bLargest ? LargestRequest().data() : EmptyRequest();
    const uint64_t uiLength = bLargest ? LargestRequest().size() : 8;
    CMsgQueueSender::REPLY reply;
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        const bool bOk = bMinimal ? pPeer->pMinimal->Exchange(pbyRequest, uiLength)
                                  : QueueExchange(*pPeer, pbyRequest, uiLength, reply);
        if (!bOk) {
            state.SkipWithError("queue exchange failed");
            break;
        }
        samples.Add(NowNs() - t0);
    }
    samples.Report(state);
}

void BM_SideBySide(benchmark::State& state, ELogging eReceiverLogging)
{
    UseLogging(ELogging::OFF);
    CEchoPeer* pPipe = PipePeer();
    CEchoPeer* pSocket = SocketPeer();
    CQueuePeer* pQueue = QueuePeer(eReceiverLogging);
    if (!pPipe || !pSocket || !pQueue) {
        state.SkipWithError("a peer did not start");
        return;
    }
    CMsgQueueSender::REPLY reply;
    CSamples pipe;
    CSamples socket;
    CSamples queue;
    CSamples minimal;
    for (auto _ : state) {
        int64_t t0 = NowNs();
        bool bOk = PingPong(pPipe->iWriteFd, pPipe->iReadFd);
        int64_t t1 = NowNs();
        pipe.Add(t1 - t0);
        bOk = bOk && PingPong(pSocket->iWriteFd, pSocket->iReadFd);
        t0 = NowNs();
        socket.Add(t0 - t1);
        bOk = bOk && QueueExchange(*pQueue, EmptyRequest(), 8, reply);
        t1 = NowNs();
        queue.Add(t1 - t0);
        bOk = bOk && pQueue->pMinimal->Exchange(EmptyRequest(), 8);
        t0 = NowNs();
        minimal.Add(t0 - t1);
        if (!bOk) {
            state.SkipWithError("exchange failed");
            break;
        }
    }
    pipe.Report(state, "pipe_");
    socket.Report(state, "socket_");
    queue.Report(state, "queue_");
    minimal.Report(state, "queue_minimal_sender_");
    const double dPipe = pipe.MedianNs();
    state.counters["queue_to_pipe"] = dPipe > 0 ? queue.MedianNs() / dPipe : 0;
    state.counters["queue_minimal_sender_to_pipe"] = dPipe > 0 ? minimal.MedianNs() / dPipe : 0;
    state.counters["socket_to_pipe"] = dPipe > 0 ? socket.MedianNs() / dPipe : 0;
}

// The sending tool's own steps per request, one at a time: taking and giving
// back the senders' mutex, and the check that a receiver owns the existence
// mutex.
void BM_SenderMutex(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    const std::wstring strName =
        CMsgQueueLayout::SenderMutexName(L"OrvBenchParts_" + std::to_wstring(getpid()));
    OrvUtility::NamedHandle hMutex =
        OrvUtility::CreateNamedMutex(strName.c_str(), false, OrvUtility::EVERYONE_MUTEX_ALL_ACCESS);
    if (!hMutex) {
        state.SkipWithError("mutex not created");
        return;
    }
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        const uint32_t uiWait = OrvUtility::WaitNamedMutex(hMutex, SEND_TIMEOUT_MS);
        const int iReleased = OrvUtility::ReleaseNamedMutex(hMutex);
        samples.Add(NowNs() - t0);
        if (uiWait != OrvUtility::NAMED_WAIT_OBJECT_0 || !iReleased) {
            state.SkipWithError("mutex not taken");
            break;
        }
    }
    samples.Report(state);
    OrvUtility::CloseNamedObject(hMutex);
}

void BM_PresenceProbe(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    CQueuePeer* pPeer = QueuePeer(ELogging::OFF);
    if (!pPeer) {
        state.SkipWithError("queue receiver did not start");
        return;
    }
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        const bool bPresent = pPeer->pSender->IsReceiverPresent();
        samples.Add(NowNs() - t0);
        if (!bPresent) {
            state.SkipWithError("receiver not present");
            break;
        }
    }
    samples.Report(state);
}

} // namespace

// ---------------------------------------------------------------- children

// Echoes bytes from descriptor 3 to descriptor 4 until end of file.
ORV_BENCH_CHILD(echo)
{
    (void)vecArgs;
    char c;
    while (ReadByte(3, c)) {
        if (!WriteByte(4, c)) {
            return 1;
        }
    }
    return 0;
}

// Serves the queue named by the first argument, with the logging named by
// the second, until descriptor 3 (the lifeline) reaches end of file.
ORV_BENCH_CHILD(queue)
{
    if (vecArgs.size() < 2) {
        return 2;
    }
    if (!UseLogging(LoggingFromName(vecArgs[1]))) {
        return 3;
    }
    CMsgQueueEx objQueue(Language::WideFromUtf8(vecArgs[0]), CMsgQueueLayout::JOB_REQUEST_CAPACITY,
                         CMsgQueueLayout::JOB_RESPONSE_CAPACITY);
    if (objQueue.IsConstructionFailed()) {
        return 4;
    }
    std::thread watcher([&objQueue]() {
        char c;
        while (ReadByte(3, c)) {
        }
        objQueue.SignalQuit();
    });
    // Answers at once: "cancelled", 44 bytes.
    const uint32_t uiCode = objQueue.RecvMsgLoop(
        [](uint8_t*, uint64_t&, uint8_t* pbyResponse, uint64_t& uiResponseLength) {
            const int32_t iCancel = 1;
            std::memcpy(pbyResponse, &iCancel, sizeof(iCancel));
            uiResponseLength = 44;
            return 0;
        });
    watcher.join();
    UseLogging(ELogging::OFF);
    return uiCode == CMsgQueueEx::RECV_QUIT ? 0 : 5;
}

ORV_BENCH_REGISTER(Channel)
{
    benchmark::RegisterBenchmark("Channel/pipe_ping_pong", BM_PipePingPong)->UseRealTime();
    benchmark::RegisterBenchmark("Channel/unix_socket_ping_pong", BM_SocketPingPong)->UseRealTime();
    for (ELogging e : {ELogging::OFF, ELogging::SHIPPED}) {
        const std::string strSuffix = std::string("/receiver_logging:") + LoggingName(e);
        benchmark::RegisterBenchmark(("Channel/queue_round_trip" + strSuffix).c_str(), BM_QueueRoundTrip, e, false,
                                     false)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("Channel/queue_round_trip_minimal_sender" + strSuffix).c_str(),
                                     BM_QueueRoundTrip, e, false, true)
            ->UseRealTime();
    }
    benchmark::RegisterBenchmark("Channel/queue_round_trip_largest_request/receiver_logging:off",
                                 BM_QueueRoundTrip, ELogging::OFF, true, false)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Channel/sender_steps/senders_mutex_take_and_give_back", BM_SenderMutex)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Channel/sender_steps/receiver_presence_check", BM_PresenceProbe)->UseRealTime();
    for (ELogging e : {ELogging::OFF, ELogging::SHIPPED}) {
        const std::string strName = std::string("Channel/side_by_side/receiver_logging:") + LoggingName(e);
        benchmark::RegisterBenchmark(strName.c_str(), BM_SideBySide, e)->UseRealTime();
    }
}
