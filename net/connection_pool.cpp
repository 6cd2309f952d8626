// The reading pool of a listener: workers of the synchroniser's thread pool
// each watch up to 64 sockets and hand a readable one to the listener
// handler as a work item that reads and delivers one message.
#include <new>

#include "net/transport.h"
#include "zrheap.h"

namespace zr::net {
namespace {

namespace pf = zr::platform;

constexpr int32_t kSocketsPerWorker = 64;
constexpr long kSelectMicroseconds = 500;
constexpr int32_t kIdleRoundsToEnd = 19;

// Pool parameters of the synchroniser: minimum, maximum threads, idle time.
constexpr int32_t kPoolMinimum = 10;
constexpr int32_t kPoolMaximum = 50;
constexpr uint32_t kPoolIdleMs = 100;

// The 2-word work item of one readable socket: it holds one reference.
struct ReadItem {
  ZRNET_WorkItem base;
  Connection* connection;
};

void destroyItem(ZRNET_WorkItem* self) {
  auto* item = reinterpret_cast<ReadItem*>(self);
  item->connection->release();
  ZrHeap_free(item);
}

int32_t runItem(ZRNET_WorkItem* self) {
  auto* item = reinterpret_cast<ReadItem*>(self);
  int32_t result = item->connection->readStep();
  destroyItem(self);
  return result;
}

const ZRNET_WorkItemVtbl kReadItemTable = {destroyItem, runItem};

}  // namespace

// Runs as the synchroniser's work: slot 1 of its table is the worker loop.
class PoolWorker {
 public:
  explicit PoolWorker(ConnectionPool* pool) : m_table(&kTable), m_held(0), m_idleRounds(0), m_pool(pool) {}

 private:
  static int32_t run(void* self) {
    static_cast<PoolWorker*>(self)->loop();
    return 0;
  }
  static void destroy(void* self) { delete static_cast<PoolWorker*>(self); }
  struct Table {
    void (*destroy)(void*);
    int32_t (*run)(void*);
  };
  static const Table kTable;
  friend class ConnectionPool;

  void takePending() {
    ZR_ScopedLock section(&m_pool->m_section);
    ZR_ScopedLock synchroniser(&m_pool->m_synchroniserLock);
    if (m_counted) --m_pool->m_freeWorkers;
    while (m_pool->m_pending && m_held < kSocketsPerWorker) {
      ZRNET_PENDING_ENTRY* entry = m_pool->m_pending;
      m_pool->m_pending = entry->Next;
      m_entries[m_held++] = entry;
    }
    m_counted = m_held < kSocketsPerWorker;
    if (m_counted) ++m_pool->m_freeWorkers;
    if (m_pool->m_pending && m_pool->m_freeWorkers == 0) m_pool->startWorkerLocked();
  }

  // Offers entry i to the handler; true when the handler took it.
  bool offer(int32_t i) {
    Connection* connection = static_cast<Connection*>(m_entries[i]->Connection);
    connection->addRef();
    auto* item = static_cast<ReadItem*>(ZrHeap_malloc(sizeof(ReadItem)));
    if (!item) {
      connection->release();
      return false;
    }
    *item = {{&kReadItemTable}, connection};
    if (!listenerHandlerTable(m_pool->m_handler)->TakeSocket(m_pool->m_handler, &item->base)) {
      destroyItem(&item->base);
      return false;
    }
    bool wasFull = m_held == kSocketsPerWorker;
    ZrHeap_free(m_entries[i]);
    m_entries[i] = m_entries[--m_held];
    connection->release();
    if (wasFull) {
      ZR_ScopedLock synchroniser(&m_pool->m_synchroniserLock);
      ++m_pool->m_freeWorkers;
      m_counted = true;
    }
    return true;
  }

  // Takes this worker off the free count, unless a socket came in since it
  // last looked: a worker counted as free must not leave one behind.
  bool leave() {
    ZR_ScopedLock synchroniser(&m_pool->m_synchroniserLock);
    if (m_pool->m_pending && !m_pool->m_stopping.load()) {
      m_idleRounds = 0;
      return false;
    }
    if (m_counted) --m_pool->m_freeWorkers;
    m_counted = false;
    return true;
  }

  void loop() {
    for (bool running = true; running;) {
      if (m_held < kSocketsPerWorker) takePending();
      pf::Socket sockets[kSocketsPerWorker];
      bool readable[kSocketsPerWorker] = {};
      for (int32_t i = 0; i < m_held; ++i) {
        sockets[i] = static_cast<Connection*>(m_entries[i]->Connection)->socket();
      }
      int ready = pf::waitReadable(sockets, m_held, readable, kSelectMicroseconds);
      // From the end, so that an entry moved into a freed place was seen already.
      for (int32_t i = m_held - 1; ready > 0 && i >= 0; --i) {
        if (readable[i]) offer(i);
      }
      m_idleRounds = (m_held == 0 && ready <= 0) ? m_idleRounds + 1 : 0;
      if (m_idleRounds > kIdleRoundsToEnd || m_pool->m_stopping.load()) running = !leave();
    }
    for (int32_t i = 0; i < m_held; ++i) {
      static_cast<Connection*>(m_entries[i]->Connection)->release();
      ZrHeap_free(m_entries[i]);
    }
    delete this;
  }

  [[maybe_unused]] const Table* m_table;  // first: the dispatcher calls slot 1 through it
  int32_t m_held;
  int32_t m_idleRounds;
  ZRNET_PENDING_ENTRY* m_entries[kSocketsPerWorker];
  bool m_counted = false;
  ConnectionPool* m_pool;
};

const PoolWorker::Table PoolWorker::kTable = {PoolWorker::destroy, PoolWorker::run};

ConnectionPool::ConnectionPool(void* listenerHandler, const Reporter& reporter)
    : m_pending(nullptr),
      m_synchroniser(new CZR_GrowableThreadPool(kPoolMinimum, kPoolMaximum, kPoolIdleMs)),
      m_freeWorkers(0),
      m_stopping(false),
      m_references(1),
      m_handler(listenerHandler),
      m_reporter(reporter) {
  contextTable(m_reporter.context())->AddRef(m_reporter.context());
}

ConnectionPool::~ConnectionPool() {
  delete m_synchroniser;
  contextTable(m_reporter.context())->Release(m_reporter.context());
}

void ConnectionPool::addRef() { ++m_references; }

void ConnectionPool::release() {
  if (--m_references == 0) delete this;
}

// Under the synchroniser lock. A new worker counts as free until it has
// looked at the pending list, so that a burst of sockets starts one worker.
void ConnectionPool::startWorkerLocked() {
  auto* worker = new (std::nothrow) PoolWorker(this);
  if (!worker) return;
  worker->m_counted = true;
  ++m_freeWorkers;
  CZR_DispatchRecord record{worker};
  if (!m_synchroniser->Dispatch(record)) {
    --m_freeWorkers;
    delete worker;
    m_reporter.report(ZRNET_E_INTERNAL, __LINE__);
  }
}

void ConnectionPool::addPending(Connection* connection) {
  auto* entry = static_cast<ZRNET_PENDING_ENTRY*>(ZrHeap_malloc(sizeof(ZRNET_PENDING_ENTRY)));
  bool kept = false;
  if (entry) {
    ZR_ScopedLock synchroniser(&m_synchroniserLock);
    if (!m_stopping.load()) {
      *entry = {connection->socket(), connection, m_pending};
      m_pending = entry;
      kept = true;
      if (m_freeWorkers == 0) startWorkerLocked();
    }
  }
  if (!kept) {
    ZrHeap_free(entry);
    connection->release();
  }
}

void ConnectionPool::stop() {
  m_stopping = true;
  for (;;) {
    {
      ZR_ScopedLock synchroniser(&m_synchroniserLock);
      if (m_freeWorkers == 0) break;
    }
    pf::sleepMilliseconds(1);
  }
  // Ending the synchroniser waits for every worker, full ones included.
  delete m_synchroniser;
  m_synchroniser = nullptr;
  ZRNET_PENDING_ENTRY* pending;
  {
    ZR_ScopedLock synchroniser(&m_synchroniserLock);
    pending = m_pending;
    m_pending = nullptr;
  }
  while (pending) {
    ZRNET_PENDING_ENTRY* next = pending->Next;
    static_cast<Connection*>(pending->Connection)->release();
    ZrHeap_free(pending);
    pending = next;
  }
}

}  // namespace zr::net
