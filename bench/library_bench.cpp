// Library files against SQLite storing the same entries as blobs in one
// table: a 64 MB entry read in 64 KB requests (and a plain file read as the
// ceiling), 4 KB entries read by name, written durably one by one, written
// with syncs off, and listed.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "library/lib_engine.h"
#include "lmi.h"

namespace {

namespace engine = zr::library;

const std::string kFolder = "/tmp/zrlibbench";
constexpr size_t kLarge = 64u << 20;
constexpr size_t kRequest = 64u << 10;
constexpr int kEntries = 10000;
constexpr size_t kEntryBytes = 4096;

std::vector<uint8_t> bytesOf(size_t n, uint32_t seed) {
  std::vector<uint8_t> v(n);
  std::mt19937 rng(seed);
  for (auto& b : v) b = uint8_t(rng());
  return v;
}

std::u16string wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

std::string entryName(int i) { return "entry" + std::to_string(i * 7919 % 100003); }

struct Store {
  zrstg_handle* h = zrstg_begin(0);
  std::u16string path;
  LMI_LIBRARY* lib = nullptr;

  Store(const std::string& leaf, int buffer) {
    std::string p = kFolder + "/" + leaf;
    path = wide(p);
    if (access(p.c_str(), F_OK) != 0) LMI_CreateLibrary(h->pool, path.data(), nullptr);
    lib = LMI_OpenLibrary(h->pool, path.data(), LMI_LIBRARY_READWRITE, buffer);
  }
  ~Store() {
    LMI_CloseLibrary(lib);
    zrstg_end(h);
  }
  void put(const std::string& name, const std::vector<uint8_t>& data) {
    std::u16string n = wide(name);
    LMI_OpenEntry(lib, n.data(), LMI_ENTRY_WRITE, nullptr);
    LMI_WriteEntry(lib, data.data(), int32_t(data.size()));
    LMI_CloseEntry(lib);
  }
};

sqlite3* openSqlite(const std::string& leaf, const char* setup) {
  sqlite3* db = nullptr;
  sqlite3_open((kFolder + "/" + leaf).c_str(), &db);
  sqlite3_exec(db, setup, nullptr, nullptr, nullptr);
  sqlite3_exec(db, "CREATE TABLE IF NOT EXISTS e(name TEXT PRIMARY KEY, data BLOB)", nullptr, nullptr, nullptr);
  return db;
}

void sqlitePut(sqlite3* db, sqlite3_stmt* insert, const std::string& name, const std::vector<uint8_t>& data) {
  sqlite3_bind_text(insert, 1, name.c_str(), -1, SQLITE_TRANSIENT);
  sqlite3_bind_blob(insert, 2, data.data(), int(data.size()), SQLITE_STATIC);
  sqlite3_step(insert);
  sqlite3_reset(insert);
  (void)db;
}

// Made once per run: the large entry, its plain-file twin, and the 10,000
// small entries in random order, in both stores.
void prepare() {
  static bool done = false;
  if (done) return;
  done = true;
  std::system(("rm -rf " + kFolder + " && mkdir -p " + kFolder).c_str());
  engine::setSyncEnabled(false);
  const std::vector<uint8_t> large = bytesOf(kLarge, 1);
  {
    Store s("large.zrl", 64000);
    s.put("large", large);
  }
  FILE* f = std::fopen((kFolder + "/large.bin").c_str(), "wb");
  std::fwrite(large.data(), 1, large.size(), f);
  std::fclose(f);
  sqlite3* db = openSqlite("large.db", "PRAGMA journal_mode=WAL");
  sqlite3_stmt* insert;
  sqlite3_prepare_v2(db, "INSERT INTO e VALUES(?, ?)", -1, &insert, nullptr);
  sqlitePut(db, insert, "large", large);
  sqlite3_finalize(insert);
  sqlite3_close(db);

  std::vector<int> order(kEntries);
  for (int i = 0; i < kEntries; ++i) order[size_t(i)] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(5));
  const std::vector<uint8_t> small = bytesOf(kEntryBytes, 2);
  {
    Store s("small.zrl", 0);
    for (int i : order) s.put(entryName(i), small);
    Store ascending("ascending.zrl", 0);
    for (int i = 0; i < kEntries; ++i) ascending.put(entryName(0) + std::to_string(100000 + i), small);
  }
  db = openSqlite("small.db", "PRAGMA journal_mode=WAL");
  sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  sqlite3_prepare_v2(db, "INSERT INTO e VALUES(?, ?)", -1, &insert, nullptr);
  for (int i : order) sqlitePut(db, insert, entryName(i), small);
  sqlite3_finalize(insert);
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(db);
  engine::setSyncEnabled(true);
  sync();
}

void BM_LargeEntryRead(benchmark::State& state) {
  prepare();
  Store s("large.zrl", 64000);
  std::vector<uint8_t> buf(kRequest);
  std::u16string name = u"large";
  for (auto _ : state) {
    LMI_OpenEntry(s.lib, name.data(), LMI_ENTRY_READ, nullptr);
    while (LMI_ReadEntry(s.lib, buf.data(), int32_t(buf.size())) > 0) {
    }
    LMI_CloseEntry(s.lib);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kLarge));
}

void BM_LargePlainFileRead(benchmark::State& state) {
  prepare();
  const int fd = ::open((kFolder + "/large.bin").c_str(), O_RDONLY);
  std::vector<uint8_t> buf(kRequest);
  for (auto _ : state) {
    lseek(fd, 0, SEEK_SET);
    while (::read(fd, buf.data(), buf.size()) > 0) {
    }
  }
  ::close(fd);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kLarge));
}

void BM_LargeSqliteBlobRead(benchmark::State& state) {
  prepare();
  sqlite3* db = openSqlite("large.db", "");
  std::vector<uint8_t> buf(kRequest);
  for (auto _ : state) {
    sqlite3_blob* blob = nullptr;
    sqlite3_blob_open(db, "main", "e", "data", 1, 0, &blob);
    const int size = sqlite3_blob_bytes(blob);
    for (int at = 0; at < size; at += int(kRequest))
      sqlite3_blob_read(blob, buf.data(), std::min(int(kRequest), size - at), at);
    sqlite3_blob_close(blob);
  }
  sqlite3_close(db);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kLarge));
}

std::vector<std::string> shuffledNames() {
  std::vector<std::string> names;
  for (int i = 0; i < kEntries; ++i) names.push_back(entryName(i));
  std::shuffle(names.begin(), names.end(), std::mt19937(9));
  return names;
}

void BM_ReadByName(benchmark::State& state) {
  prepare();
  Store s("small.zrl", 0);
  const std::vector<std::string> names = shuffledNames();
  std::vector<uint8_t> buf(kEntryBytes);
  size_t i = 0;
  for (auto _ : state) {
    std::u16string n = wide(names[i++ % names.size()]);
    LMI_OpenEntry(s.lib, n.data(), LMI_ENTRY_READ, nullptr);
    benchmark::DoNotOptimize(LMI_ReadEntry(s.lib, buf.data(), int32_t(buf.size())));
    LMI_CloseEntry(s.lib);
  }
}

void BM_SqliteReadByName(benchmark::State& state) {
  prepare();
  sqlite3* db = openSqlite("small.db", "");
  sqlite3_stmt* select;
  sqlite3_prepare_v2(db, "SELECT data FROM e WHERE name=?", -1, &select, nullptr);
  const std::vector<std::string> names = shuffledNames();
  std::vector<uint8_t> buf(kEntryBytes);
  size_t i = 0;
  for (auto _ : state) {
    sqlite3_bind_text(select, 1, names[i++ % names.size()].c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(select) == SQLITE_ROW)
      std::copy_n(static_cast<const uint8_t*>(sqlite3_column_blob(select, 0)), kEntryBytes, buf.data());
    sqlite3_reset(select);
  }
  sqlite3_finalize(select);
  sqlite3_close(db);
}

// New entries into a fresh store, one close (and, when durable, one sync) each.
void writeEntries(benchmark::State& state, bool durable) {
  prepare();
  engine::setSyncEnabled(durable);
  const std::string leaf = durable ? "durable.zrl" : "fast.zrl";
  std::remove((kFolder + "/" + leaf).c_str());
  Store s(leaf, 0);
  const std::vector<uint8_t> data = bytesOf(kEntryBytes, 3);
  int i = 0;
  for (auto _ : state) s.put(entryName(i++), data);
  engine::setSyncEnabled(true);
}

void sqliteWrites(benchmark::State& state, bool durable) {
  prepare();
  const std::string leaf = durable ? "durable.db" : "fast.db";
  std::system(("rm -f " + kFolder + "/" + leaf + "*").c_str());
  sqlite3* db = openSqlite(leaf, durable ? "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL"
                                         : "PRAGMA synchronous=OFF");
  sqlite3_stmt* insert;
  sqlite3_prepare_v2(db, "INSERT INTO e VALUES(?, ?)", -1, &insert, nullptr);
  if (!durable) sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  const std::vector<uint8_t> data = bytesOf(kEntryBytes, 3);
  int i = 0;
  for (auto _ : state) sqlitePut(db, insert, entryName(i++), data);
  if (!durable) sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_finalize(insert);
  sqlite3_close(db);
}

void BM_DurableWrite(benchmark::State& state) { writeEntries(state, true); }
void BM_SqliteDurableWrite(benchmark::State& state) { sqliteWrites(state, true); }
void BM_WriteSyncsOff(benchmark::State& state) { writeEntries(state, false); }
void BM_SqliteWriteSyncOff(benchmark::State& state) { sqliteWrites(state, false); }

int countRecord(LMI_LIBRARY*, uint8_t* record, void* user) {
  benchmark::DoNotOptimize(engine::recName(record));
  ++*static_cast<int*>(user);
  return 0;
}

void listing(benchmark::State& state, const char* leaf) {
  prepare();
  Store s(leaf, 0);
  for (auto _ : state) {
    int count = 0;
    engine::walkRecords(s.lib, countRecord, &count);
    s.lib->entry = nullptr;
    if (count != kEntries) state.SkipWithError("listing lost entries");
  }
}

void BM_List(benchmark::State& state) { listing(state, "small.zrl"); }
void BM_ListAscendingTree(benchmark::State& state) { listing(state, "ascending.zrl"); }

void BM_SqliteList(benchmark::State& state) {
  prepare();
  sqlite3* db = openSqlite("small.db", "");
  sqlite3_stmt* select;
  sqlite3_prepare_v2(db, "SELECT name FROM e", -1, &select, nullptr);
  for (auto _ : state) {
    while (sqlite3_step(select) == SQLITE_ROW) benchmark::DoNotOptimize(sqlite3_column_text(select, 0));
    sqlite3_reset(select);
  }
  sqlite3_finalize(select);
  sqlite3_close(db);
}

}  // namespace

BENCHMARK(BM_LargeEntryRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargePlainFileRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeSqliteBlobRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadByName)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SqliteReadByName)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DurableWrite)->Unit(benchmark::kMicrosecond)->Iterations(300);
BENCHMARK(BM_SqliteDurableWrite)->Unit(benchmark::kMicrosecond)->Iterations(300);
BENCHMARK(BM_WriteSyncsOff)->Unit(benchmark::kMicrosecond)->Iterations(kEntries);
BENCHMARK(BM_SqliteWriteSyncOff)->Unit(benchmark::kMicrosecond)->Iterations(kEntries);
BENCHMARK(BM_List)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ListAscendingTree)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SqliteList)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
