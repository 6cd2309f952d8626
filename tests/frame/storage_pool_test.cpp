// Storage handles: settings that sub-pools inherit, the ring, whole-pool
// release, and the side stores.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/mem_pool.h"
#include "zrstg.h"

namespace {

std::u16string nameOf(const zrstg_subpool* node) { return node->name; }

TEST(StoragePool, PageSizesAreInheritedOrKept) {
  zrstg_handle* h = zrstg_begin(0);
  EXPECT_EQ(h->pageSize, 16384u);
  EXPECT_EQ(h->pool->pageSize, 16384u);
  EXPECT_EQ(h->poolFlags, 0x8000u);
  EXPECT_EQ(h->pool->flags, 0x8002u);
  EXPECT_EQ(h->pool->freeBytes, 0u);
  zrstg_subpool* inherited = zrstg_new_pool(h);
  zrstg_subpool* own = zrstg_new_pool_with_size_nofast(h, 4096);
  EXPECT_EQ(inherited->pool->pageSize, 16384u);
  EXPECT_EQ(own->pool->pageSize, 4096u);
  EXPECT_EQ(own->pool->flags, 0x8000u);

  EXPECT_EQ(zrstg_set_poolpagesize(h, 2048), 1);
  for (zrstg_subpool* n : {h->ring, inherited, own}) EXPECT_EQ(n->pool->pageSize, 2048u);
  EXPECT_EQ(MemPoolSetPageSize(own->pool, 512), 2048u);
  EXPECT_EQ(MemPoolSetPageSize(nullptr, 512), 0u);
  zrstg_end(h);
}

TEST(StoragePool, RingNamesAndFreeingSubPools) {
  zrstg_handle* h = zrstg_begin_nofast(100);
  EXPECT_EQ(nameOf(h->ring), u"@SP@<default>");
  zrstg_subpool* a = zrstg_new_pool(h);
  zrstg_subpool* b = zrstg_new_pool_nofast(h);
  EXPECT_EQ(nameOf(a), u"@SP@<none>");
  // New sub-pools go directly behind the default node.
  EXPECT_EQ(h->ring->next, b);
  EXPECT_EQ(b->next, a);
  EXPECT_EQ(a->next, h->ring);
  EXPECT_EQ(h->ring->previous, a);

  std::u16string seventy(70, u'n');
  zrstg_set_pool_name(h, a, seventy.c_str());
  EXPECT_EQ(nameOf(a), u"@SP@" + std::u16string(60, u'n'));
  zrstg_set_pool_name(h, nullptr, u"main");
  EXPECT_EQ(nameOf(h->ring), u"@SP@main");

  zrstg_free_pool(h, nullptr);
  zrstg_free_pool(h, h->ring);
  EXPECT_EQ(h->ring->next, b);
  zrstg_free_pool(h, b);
  EXPECT_EQ(h->ring->next, a);
  EXPECT_EQ(a->previous, h->ring);
  zrstg_end(h);
}

TEST(StoragePool, AllocationEdges) {
  zrstg_handle* h = zrstg_begin(0);
  zrstg_subpool* sp = zrstg_new_pool(h);
  EXPECT_EQ(zrstg_alc(h, 0, sp), nullptr);
  zrstg_fee(h, nullptr);

  // Small blocks of the default pool all take the fixed 8-byte block.
  void* tiny = zrstg_alc(h, 1, nullptr);
  EXPECT_GE(zrstg_sz(h, tiny), 8u);

  auto* p = static_cast<char*>(zrstg_realc(h, nullptr, 10, sp));
  std::memcpy(p, "abcdefghi", 10);
  p = static_cast<char*>(zrstg_realc(h, p, 5000, sp));
  EXPECT_STREQ(p, "abcdefghi");
  EXPECT_GE(zrstg_sz(h, p), 5000u);
  EXPECT_EQ(zrstg_realc(h, p, 0, sp), nullptr);
  zrstg_end(h);
}

TEST(StoragePool, MemPoolInfoFindsThePoolOfABlock) {
  zrstg_handle* h = zrstg_begin(0);
  zrstg_subpool* sp = zrstg_new_pool_with_size_nofast(h, 4096);
  void* p = zrstg_alc(h, 40, sp);
  struct {
    MEM_POOL* self;
    uint32_t reserved;
    uint16_t fixed, small;
    uint32_t pageSize;
    uint32_t freeBytes;
    int32_t ceiling;
    uint32_t flags, reserved2;
  } info{};
  ASSERT_EQ(zr::frame::MemPoolInfo(nullptr, p, &info), 1);
  EXPECT_EQ(info.self, sp->pool);
  EXPECT_EQ(info.pageSize, 4096u);
  EXPECT_EQ(info.fixed, 8);
  EXPECT_EQ(info.ceiling, -2);
  EXPECT_EQ(info.flags, 0x8000u);
  zrstg_end(h);
}

TEST(StoragePoolDeathTest, EndingAHandleFreesBlocksOfSubPoolsNeverFreed) {
  zrstg_handle* h = zrstg_begin(0);
  zrstg_subpool* sp = zrstg_new_pool(h);
  void* kept = zrstg_alc(h, 100, sp);
  zrstg_end(h);
  EXPECT_DEATH((ZrHeap_log(stderr, nullptr), ZrHeap_check(kept)), "previously freed");
}

TEST(StoragePoolDeathTest, DoubleFeeIsReported) {
  zrstg_handle* h = zrstg_begin(0);
  void* p = zrstg_alc(h, 100, nullptr);
  zrstg_fee(h, p);
  EXPECT_DEATH((ZrHeap_log(stderr, nullptr), zrstg_fee(h, p)), "free: block was previously freed");
  zrstg_end(h);
}

TEST(StoragePool, AnyHandleFreesABlock) {
  zrstg_handle* h1 = zrstg_begin(0);
  zrstg_handle* h2 = zrstg_begin(0);
  zrstg_subpool* sp = zrstg_new_pool(h1);
  void* p = zrstg_alc(h1, 64, sp);
  zrstg_fee(h2, p);
  zrstg_end(h2);
  zrstg_end(h1);
}

TEST(StoragePool, StatSumsPoolSizes) {
  zrstg_handle* h = zrstg_begin(0);
  zrstg_subpool* sp = zrstg_new_pool(h);
  zrstg_alc(h, 3000, sp);
  zrstg_stat_info info;
  std::memset(&info, 0xAB, sizeof info);
  zrstg_stat(h, &info);
  uint32_t sum = static_cast<uint32_t>(zr::frame::MemPoolSize(h->pool) + zr::frame::MemPoolSize(sp->pool));
  EXPECT_EQ(info.poolBytes, sum);
  EXPECT_EQ(info.totalBytes, sum);
  EXPECT_EQ(info.totalBytes2, sum);
  EXPECT_EQ(info.subPoolBlocks + info.usedBytes + info.freeBytes, 0u);
  zrstg_stat(nullptr, &info);
  EXPECT_EQ(info.poolBytes, 0u);
  zrstg_end(h);
}

TEST(StoragePool, FastStrlenLooksOnlyAtTheBlockTail) {
  zrstg_handle* h = zrstg_begin(0);
  auto* text = static_cast<char16_t*>(zrstg_alc(h, 64, nullptr));
  size_t n = zrstg_sz(h, text) / 2;
  for (size_t i = 0; i < n; ++i) text[i] = u'x';
  text[n - 2] = 0;
  EXPECT_EQ(zrstg_fast_strlen(text), n - 2);
  text[0] = 0;
  EXPECT_EQ(zrstg_fast_strlen(text), 0u);
  text[0] = u'a';
  text[1] = 0;
  EXPECT_EQ(zrstg_fast_strlen(text), 1u);
  zrstg_end(h);
}

TEST(StoragePool, GenerationIsATicketFromTwo) {
  EXPECT_EQ(zrstg_nextGeneration(), 2u);
  EXPECT_EQ(zrstg_nextGeneration(), 3u);
}

TEST(StoragePool, DdeHandleRoundTrip) {
  auto* p = static_cast<char*>(zrstg_dde_alloc(100));
  ASSERT_NE(p, nullptr);
  std::memset(p, 7, 100);
  ZR_HGLOBAL handle = zrstg_dde_get_handle(p);
  EXPECT_EQ(zrstg_dde_lock(handle), p);
  zrstg_dde_unlock(handle);
  zrstg_dde_free(p);
}

TEST(StoragePool, TempFileStoreKeepsOnlyTheLastRecordAtZero) {
  zrstg_handle* h = zrstg_begin(0);
  zrstg_subpool* sp = zrstg_new_pool(h);
  zrfstg_store* store = zrfstg_begin(h, sp);
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(zrfstg_alloc(store, "first record", 13), 0u);
  auto* back = static_cast<char*>(zrfstg_get(store, 0));
  ASSERT_NE(back, nullptr);
  EXPECT_STREQ(back, "first record");
  // Each record is written from the file's start, while the offsets go on.
  EXPECT_EQ(zrfstg_alloc(store, "second", 7), 17u);
  EXPECT_STREQ(static_cast<char*>(zrfstg_get(store, 0)), "second");
  EXPECT_EQ(zrfstg_get(store, 17), nullptr);
  EXPECT_EQ(zrfstg_end(store), 1);
  zrstg_end(h);
}

}  // namespace
