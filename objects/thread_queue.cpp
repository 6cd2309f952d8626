// The two guarded queues share one design: a ring closed by a sentinel node,
// a critical section around it, and a manual-reset event that is set while
// the ring holds anything.
#include "zrheap.h"
#include "zrkernel.h"

namespace {

template <class Base, class Value>
class DataNode final : public Base {
 public:
  int SetValue(Value& value) override {
    m_value = value;  // a thread pointer is handed over, a record copied
    return 1;
  }
  Value* GetValue() override { return &m_value; }
  static void* operator new(size_t size) noexcept { return ZrHeap_malloc(size); }
  static void operator delete(void* block) { ZrHeap_free(block); }

 private:
  Value m_value;
};

template <class Node>
void unlink(Node* node) {
  node->m_previous->m_next = node->m_next;
  node->m_next->m_previous = node->m_previous;
}

template <class Data, class Node, class Value>
int queueAdd(Node& sentinel, CZR_CritSec& section, CZR_Event& notEmpty, Value& value) {
  ZR_ScopedLock lock(&section);
  Data* node = new Data;
  if (!node) return 0;
  node->SetValue(value);
  node->m_next = &sentinel;
  node->m_previous = sentinel.m_previous;
  sentinel.m_previous->m_next = node;
  sentinel.m_previous = node;
  notEmpty.Set();
  return 1;
}

template <class Data, class Node, class Value>
int queueTake(Node& sentinel, CZR_CritSec& section, CZR_Event& notEmpty, uint32_t& lastWait, Value& value,
              uint32_t milliseconds, CZR_WaitableObject* other) {
  if (other) {
    CZR_WaitableCollection both;
    both.Add(&notEmpty);
    both.Add(other);
    lastWait = both.WaitAny(milliseconds);
  } else {
    lastWait = notEmpty.Wait(milliseconds);
  }
  if (lastWait != ZR_WAIT_OBJECT_0) return 0;
  ZR_ScopedLock lock(&section);
  Node* head = sentinel.m_next;
  if (head == &sentinel) return 0;  // another taker was first
  unlink(head);
  if (sentinel.m_next == &sentinel) notEmpty.Reset();
  value = *head->GetValue();
  delete static_cast<Data*>(head);
  return 1;
}

template <class Data, class Node, class Match>
int queueRemove(Node& sentinel, CZR_CritSec& section, CZR_Event& notEmpty, Match matches) {
  ZR_ScopedLock lock(&section);
  for (Node* node = sentinel.m_next; node->GetValue(); node = node->m_next) {
    if (!matches(*node->GetValue())) continue;
    unlink(node);
    if (sentinel.m_next == &sentinel) notEmpty.Reset();
    delete static_cast<Data*>(node);
    return 1;
  }
  return 0;
}

template <class Data, class Node>
void queueClear(Node& sentinel) {
  while (sentinel.m_next != &sentinel) {
    Node* node = sentinel.m_next;
    unlink(node);
    delete static_cast<Data*>(node);
  }
}

using ThreadNode = DataNode<CZR_ThreadListNode, CZR_ThreadAutoPtr>;
using RecordNode = DataNode<CZR_DispatchRecordListNode, CZR_DispatchRecord>;

}  // namespace

CZR_ThreadListNode::CZR_ThreadListNode() : m_next(this), m_previous(this) {}
int CZR_ThreadListNode::SetValue(CZR_ThreadAutoPtr&) { return 0; }
CZR_ThreadAutoPtr* CZR_ThreadListNode::GetValue() { return nullptr; }

CZR_DispatchRecordListNode::CZR_DispatchRecordListNode() : m_next(this), m_previous(this) {}
int CZR_DispatchRecordListNode::SetValue(CZR_DispatchRecord&) { return 0; }
CZR_DispatchRecord* CZR_DispatchRecordListNode::GetValue() { return nullptr; }

int32_t CZR_DispatchRecord::Run() const {
  using Slot = int32_t (*)(void*);
  Slot* table = *static_cast<Slot**>(work);
  return table[1](work);
}

CZR_Thread_LList::CZR_Thread_LList() : m_notEmpty(1, 0), m_lastWait(0) {}
CZR_Thread_LList::~CZR_Thread_LList() { queueClear<ThreadNode>(m_sentinel); }
int CZR_Thread_LList::Add(CZR_ThreadAutoPtr& value) {
  return queueAdd<ThreadNode>(m_sentinel, m_section, m_notEmpty, value);
}
int CZR_Thread_LList::Take(CZR_ThreadAutoPtr& value, uint32_t milliseconds, CZR_WaitableObject* other) {
  return queueTake<ThreadNode>(m_sentinel, m_section, m_notEmpty, m_lastWait, value, milliseconds, other);
}
int CZR_Thread_LList::Remove(CZR_Thread* value) {
  return queueRemove<ThreadNode>(m_sentinel, m_section, m_notEmpty,
                                 [value](const CZR_ThreadAutoPtr& p) { return p.Get() == value; });
}

CZR_DispatchRecord_LList::CZR_DispatchRecord_LList() : m_notEmpty(1, 0), m_lastWait(0) {}
CZR_DispatchRecord_LList::~CZR_DispatchRecord_LList() { queueClear<RecordNode>(m_sentinel); }
int CZR_DispatchRecord_LList::Add(CZR_DispatchRecord& value) {
  return queueAdd<RecordNode>(m_sentinel, m_section, m_notEmpty, value);
}
int CZR_DispatchRecord_LList::Take(CZR_DispatchRecord& value, uint32_t milliseconds,
                                   CZR_WaitableObject* other) {
  return queueTake<RecordNode>(m_sentinel, m_section, m_notEmpty, m_lastWait, value, milliseconds, other);
}
int CZR_DispatchRecord_LList::Remove(const CZR_DispatchRecord& value) {
  return queueRemove<RecordNode>(m_sentinel, m_section, m_notEmpty,
                                 [&value](const CZR_DispatchRecord& r) { return r.work == value.work; });
}
