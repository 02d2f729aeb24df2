// The file fuzzers: seeds from kvhost, damage by mutation, and the worker that reads each
// damaged file with the host's readers (and recovers drawings) inside one process per batch.
#include "filefuzz.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "ProjectDatabase.h"
#include "db.h"
#include "rx.h"

namespace fs = std::filesystem;

namespace kvfuzz {

bool fileKindNamed(const std::string& name, FileKind& kind) {
  if (name == "dwg") kind = FileKind::Dwg;
  else if (name == "dxf") kind = FileKind::Dxf;
  else if (name == "kv") kind = FileKind::Project;
  else return false;
  return true;
}

const char* extensionOf(FileKind kind) {
  switch (kind) {
    case FileKind::Dwg: return "dwg";
    case FileKind::Dxf: return "dxf";
    case FileKind::Project: return "kv";
  }
  return "";
}

namespace {

const char* seedName(FileKind kind) {
  switch (kind) {
    case FileKind::Dwg: return "seed.dwg";
    case FileKind::Dxf: return "seed.dxf";
    case FileKind::Project: return "seed_kv_hvac.kv";
  }
  return "";
}

// A drawing with something of every kind the readers handle: layers, text, polylines, a block
// and its reference, extended data, solids.
const char kSeedScript[] = R"((kvhost-layer "DUCT" 3) (kvhost-layer "ROOMS" 5) (regapp "KELVANE")
(entmake '((0 . "LINE") (8 . "DUCT") (10 0.0 0.0 0.0) (11 100.0 0.0 0.0) (62 . 1)))
(entmake '((0 . "LINE") (10 0.0 0.0 0.0) (11 0.0 80.0 0.0) (-3 ("KELVANE" (1000 . "KV_HVAC") (1000 . "YES") (1070 . 7)))))
(entmake '((0 . "LWPOLYLINE") (8 . "ROOMS") (90 . 4) (70 . 1) (10 0.0 0.0) (10 50.0 0.0) (42 . 0.5) (10 50.0 40.0) (10 0.0 40.0)))
(entmake '((0 . "MTEXT") (8 . "ROOMS") (10 5.0 5.0 0.0) (40 . 2.5) (1 . "Office {\\fArial;101} \\P2nd line")))
(kv_solid-test-duct '(0 0 0) '(200 0 0) 20.0 10.0)
(kv_solid-test-elbow "RADIUS" '(0 0 0) '(100 0 0) '(100 80 0) 12 8 1.5)
(kvhost-save-as "seed.dwg") (kvhost-export-dxf "seed.dxf")
(princ "\nkvfuzz: seeds made\n")
)";

std::vector<unsigned char> readBytes(const std::string& path) {
  std::string t = readText(path);
  return {t.begin(), t.end()};
}

void writeBytes(const std::string& path, const std::vector<unsigned char>& b) {
  writeText(path, std::string(b.begin(), b.end()));
}

void put32(std::vector<unsigned char>& b, std::size_t at, std::uint32_t v, bool bigEndian = false) {
  for (int i = 0; i < 4 && at + i < b.size(); ++i)
    b[at + i] = static_cast<unsigned char>(bigEndian ? v >> (24 - 8 * i) : v >> (8 * i));
}

std::uint32_t get32(const std::vector<unsigned char>& b, std::size_t at) {
  std::uint32_t v = 0;
  for (int i = 3; i >= 0; --i) v = v << 8 | (at + i < b.size() ? b[at + i] : 0);
  return v;
}

// Offsets of the drawing's counts and lengths: variable count, class count, and per record its
// byte count and the count of its extended data.
std::vector<std::size_t> dwgCountFields(const std::vector<unsigned char>& b) {
  std::vector<std::size_t> out{116};
  std::size_t at = 120;
  auto str = [&] { std::size_t n = get32(b, at); out.push_back(at); at += 4 + n; };
  for (std::uint32_t i = 0, n = get32(b, 116); i < n && at < b.size(); ++i) {
    str();
    unsigned kind = at < b.size() ? b[at] : 0;
    ++at;
    if (kind == 1) at += 4;
    else if (kind == 2) at += 8;
    else if (kind == 3) str();
    else if (kind == 4) at += 16;
    else if (kind == 5) at += 24;
  }
  out.push_back(at);
  std::uint32_t classes = get32(b, at);
  at += 4;
  for (std::uint32_t i = 0; i < classes && at < b.size(); ++i) {
    str();
    str();
    at += 13;
  }
  at += 8;
  while (b.size() > 8 && at + 16 < b.size() - 8) {
    out.push_back(at + 12);
    std::size_t size = get32(b, at + 12);
    out.push_back(at + 16 + 8);  // owner handle, then the extended data's count
    at += 16 + size;
    std::uint32_t lines = get32(b, at);
    out.push_back(at);
    at += 4;
    for (std::uint32_t i = 0; i < lines && at < b.size(); ++i) at += 4 + 24 * std::size_t{get32(b, at)};
  }
  return out;
}

// The object records of a drawing as far as they can be walked: class name, entity or not,
// handle, where the bytes start and how many.
struct DwgRecord {
  std::string cls;
  bool entity = false;
  std::uint64_t handle = 0;
  std::size_t at = 0, size = 0;
};

std::vector<DwgRecord> dwgRecords(const std::vector<unsigned char>& b, std::size_t* stop = nullptr) {
  std::vector<DwgRecord> out;
  if (stop != nullptr) *stop = 0;
  std::vector<std::pair<std::string, bool>> classes;
  std::vector<std::size_t> fields = dwgCountFields(b);
  if (fields.size() < 2) return out;
  std::size_t at = fields[1] + 4;  // the class count's offset is the second field
  auto text = [&] {
    std::size_t n = get32(b, at);
    std::string t = at + 4 + n <= b.size() ? std::string(b.begin() + at + 4, b.begin() + at + 4 + n) : "";
    at += 4 + n;
    return t;
  };
  for (std::uint32_t i = 0, n = get32(b, fields[1]); i < n && at < b.size() && i < 4096; ++i) {
    std::string name = text();
    text();
    classes.emplace_back(name, at < b.size() && b[at] == 1);
    at += 13;
  }
  at += 8;
  while (b.size() > 8 && at + 16 < b.size() - 8) {
    std::uint32_t cls = get32(b, at), size = get32(b, at + 12);
    std::uint64_t handle = get32(b, at + 4) | std::uint64_t{get32(b, at + 8)} << 32;
    if (cls >= classes.size() || size > b.size() - at - 16) break;
    out.push_back({classes[cls].first, classes[cls].second, handle, at + 16, size});
    at += 16 + size;
    std::uint32_t lines = get32(b, at);
    at += 4;
    for (std::uint32_t i = 0; i < lines && at < b.size(); ++i) at += 4 + 24 * std::size_t{get32(b, at)};
    if (stop != nullptr) *stop = at;
  }
  return out;
}

// Whether some record of a drawing has no bytes: an empty record is a known fault's input.
bool dwgHasEmptyRecord(const std::vector<unsigned char>& b) {
  for (const DwgRecord& r : dwgRecords(b))
    if (r.size == 0) return true;
  return false;
}

bool validLineWeight(int v) {
  static const std::set<int> valid = {-3, -2, -1, 0, 5, 9, 13, 15, 18, 20, 25, 30, 35, 40, 50, 53, 60, 70,
                                      80, 90, 100, 106, 120, 140, 158, 200, 211};
  return valid.contains(v);
}

// Whether a drawing may carry a line weight that does not exist: an entity's own field (after
// owner, extended data, layer, linetype and colour) read where it can be, and any change to a
// record whose field cannot be placed (extended data before it, a layer) taken as such.
bool dwgMayHaveBadLineWeight(const std::vector<unsigned char>& b, const std::vector<unsigned char>& seed) {
  std::map<std::uint64_t, DwgRecord> before;
  for (const DwgRecord& r : dwgRecords(seed)) before[r.handle] = r;
  std::size_t stop = 0;
  std::vector<DwgRecord> records = dwgRecords(b, &stop);
  // Past where the walk stopped recovery may still find records: any change there counts.
  for (std::size_t i = stop; i < b.size() && i < seed.size(); ++i)
    if (b[i] != seed[i]) return true;
  for (const DwgRecord& r : records) {
    bool placed = r.entity && r.size >= 36 && get32(b, r.at + 8) == 0;
    if (placed) {
      auto lw = static_cast<std::int16_t>(b[r.at + 34] | b[r.at + 35] << 8);
      if (!validLineWeight(lw)) return true;
      continue;
    }
    if (!r.entity && r.cls.find("LayerTableRecord") == std::string::npos) continue;
    auto it = before.find(r.handle);
    if (it == before.end() || it->second.size != r.size ||
        !std::equal(b.begin() + r.at, b.begin() + r.at + r.size, seed.begin() + it->second.at))
      return true;
  }
  return false;
}

// Whether a group 370 carries a value outside the line weights: a known fault's input.
bool dxfHasBadLineWeight(const std::vector<unsigned char>& b) {
  static const std::set<std::string> valid = {"-3", "-2", "-1", "0", "5", "9", "13", "15", "18", "20", "25", "30",
                                              "35", "40", "50", "53", "60", "70", "80", "90", "100", "106", "120",
                                              "140", "158", "200", "211"};
  std::istringstream lines(std::string(b.begin(), b.end()));
  for (std::string code, value; std::getline(lines, code) && std::getline(lines, value);) {
    auto trim = [](std::string& s) {
      while (!s.empty() && (s.back() == '\r' || s.back() == ' ')) s.pop_back();
      s.erase(0, s.find_first_not_of(' '));
    };
    trim(code), trim(value);
    if (code == "370" && !valid.contains(value)) return true;
  }
  return false;
}

std::uint32_t inflated(std::uint32_t v, Rng& rng) {
  static const std::uint32_t big[] = {0xFFFFFFFFu, 0x7FFFFFFFu, 0x80000000u, 0x10000000u, 0x00FFFFFFu, 65536};
  switch (rng.below(3)) {
    case 0: return big[rng.below(std::size(big))];
    case 1: return v * 2 + 1;
    default: return v + 1 + static_cast<std::uint32_t>(rng.below(1000));
  }
}

// DXF: a count or a text made too large, a line dropped or doubled (pairs out of step).
void mutateDxf(std::vector<unsigned char>& b, Rng& rng) {
  std::string t(b.begin(), b.end());
  std::vector<std::size_t> lines{0};
  for (std::size_t i = 0; i < t.size(); ++i)
    if (t[i] == '\n') lines.push_back(i + 1);
  if (lines.size() < 4) return;
  std::size_t pick = rng.below(lines.size() / 2) * 2 + 1;  // a value line
  std::size_t begin = lines[pick], end = pick + 1 < lines.size() ? lines[pick + 1] : t.size();
  switch (rng.below(4)) {
    case 0: t.replace(begin, end - begin, std::to_string(inflated(static_cast<std::uint32_t>(rng.below(100)), rng)) + "\n"); break;
    case 1: t.replace(begin, end - begin, std::string(70000 + rng.below(1000), 'W') + "\n"); break;
    case 2: t.erase(begin, end - begin); break;
    default: t.insert(begin, t.substr(begin, end - begin)); break;
  }
  b.assign(t.begin(), t.end());
}

// SQLite: page size, page count, free list and a b-tree page's cell count made too large.
void inflateProject(std::vector<unsigned char>& b, Rng& rng) {
  if (b.size() < 100) return;
  std::size_t page = (b[16] << 8 | b[17]) == 1 ? 65536 : (b[16] << 8 | b[17]);
  switch (rng.below(4)) {
    case 0: put32(b, 28, inflated(get32(b, 28), rng), true); break;
    case 1: put32(b, 36, inflated(1, rng), true); break;
    case 2: b[16] = static_cast<unsigned char>(rng.below(256)), b[17] = static_cast<unsigned char>(rng.below(256)); break;
    default: {
      std::size_t pages = page ? b.size() / page : 0;
      if (pages == 0) return;
      std::size_t at = rng.below(pages) * page + (rng.below(pages) == 0 ? 100 : 0) + 3;
      if (at + 1 < b.size()) b[at] = 0xFF, b[at + 1] = static_cast<unsigned char>(rng.below(256));
    }
  }
}

}  // namespace

std::vector<unsigned char> mutate(FileKind kind, const std::vector<unsigned char>& seed, Rng& rng, bool avoidKnown) {
  for (int attempt = 0; attempt < 50; ++attempt) {
    std::vector<unsigned char> b = seed;
    for (std::uint64_t m = 0, n = 1 + rng.below(3); m < n && !b.empty(); ++m) {
      switch (rng.below(4)) {
        case 0:  // bit flips
          for (std::uint64_t i = 0, k = 1 + rng.below(8); i < k; ++i) b[rng.below(b.size())] ^= 1u << rng.below(8);
          break;
        case 1:  // truncation
          b.resize(rng.below(b.size()));
          break;
        case 2:  // a byte set to a boundary value
          b[rng.below(b.size())] = static_cast<unsigned char>(std::array<int, 4>{0, 0xFF, 0x7F, 0x80}[rng.below(4)]);
          break;
        default:  // inflated counts and lengths
          if (kind == FileKind::Dxf) mutateDxf(b, rng);
          else if (kind == FileKind::Project) inflateProject(b, rng);
          else {
            std::vector<std::size_t> fields = dwgCountFields(b);
            std::size_t at = fields[rng.below(fields.size())];
            if (at + 4 <= b.size()) put32(b, at, inflated(get32(b, at), rng));
          }
      }
    }
    if (avoidKnown && kind == FileKind::Dwg && (dwgHasEmptyRecord(b) || dwgMayHaveBadLineWeight(b, seed))) continue;
    if (avoidKnown && kind == FileKind::Dxf && dxfHasBadLineWeight(b)) continue;
    return b;
  }
  return seed;
}

void FileTally::add(const FileTally& t) {
  files += t.files, opened += t.opened, refused += t.refused, recovered += t.recovered;
  recoverFailed += t.recoverFailed, objectsSeed += t.objectsSeed, objectsKept += t.objectsKept;
  roundTripLost += t.roundTripLost;
}

std::string FileTally::line() const {
  std::ostringstream s;
  s << "kvfuzz-tally " << files << " " << opened << " " << refused << " " << recovered << " " << recoverFailed << " "
    << objectsSeed << " " << objectsKept << " " << roundTripLost;
  return s.str();
}

FileTally FileTally::parse(const std::string& text) {
  FileTally t;
  std::size_t at = text.rfind("kvfuzz-tally ");
  if (at == std::string::npos) return t;
  std::istringstream s(text.substr(at + 13));
  s >> t.files >> t.opened >> t.refused >> t.recovered >> t.recoverFailed >> t.objectsSeed >> t.objectsKept >>
      t.roundTripLost;
  return t;
}

namespace {

std::wstring wide(const std::string& s) { return acrxFromUtf8(s); }

std::size_t entityCount(AcDbDatabase& db) {
  AcDbBlockTableRecord* ms = nullptr;
  if (acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead) != Acad::eOk) return 0;
  std::size_t n = 0;
  for (AcDbObjectId id : ms->entityIds()) n += id.isErased() ? 0 : 1;
  ms->close();
  return n;
}

// A drawing: opened, and when it opens saved and read again; recovered either way, and a
// recovered drawing saved and read again with nothing it kept lost.
void readDrawing(const std::string& path, const std::string& folder, std::size_t seedObjects, FileTally& t) {
  {
    AcDbDatabase db(false, false);
    if (db.readDwgFile(wide(path).c_str()) == Acad::eOk) {
      ++t.opened;
      db.saveAs(wide(folder + "/again.dwg").c_str());
      db.dxfOut(wide(folder + "/again.dxf").c_str());
    } else {
      ++t.refused;
    }
  }
  AcDbDatabase rec(true, false);
  AcDbRecoverReport report;
  if (acdbRecoverDwgFile(&rec, wide(path).c_str(), report) != Acad::eOk) {
    ++t.recoverFailed;
    return;
  }
  ++t.recovered;
  t.objectsSeed += seedObjects;
  t.objectsKept += report.kept;
  std::size_t entities = entityCount(rec), objects = rec.numObjects();
  if (rec.saveAs(wide(folder + "/recovered.dwg").c_str()) != Acad::eOk) {
    ++t.roundTripLost;
    return;
  }
  AcDbDatabase back(false, false);
  if (back.readDwgFile(wide(folder + "/recovered.dwg").c_str()) != Acad::eOk || entityCount(back) != entities ||
      back.numObjects() != objects) {
    ++t.roundTripLost;
    std::fprintf(stderr, "kvfuzz: %s: the recovered drawing does not come back as saved\n", path.c_str());
  }
}

void readDxf(const std::string& path, const std::string& folder, FileTally& t) {
  AcDbDatabase db(true, false);
  if (db.dxfIn(wide(path).c_str()) != Acad::eOk) {
    ++t.refused;
    return;
  }
  ++t.opened;
  db.saveAs(wide(folder + "/again.dwg").c_str());
  db.dxfOut(wide(folder + "/again.dxf").c_str());
}

// A project file as the module meets it: opened (repaired when it asks for it), every table
// walked, closed.
void readProject(const std::string& path, FileTally& t) {
  ProjectDatabasePtr db;
  if (FAILED(CreateProjectDatabase(db))) return;
  _bstr_t file(wide(path).c_str());
  BSTR result = nullptr;
  db->Open(file, 0, 0, &result);
  std::wstring answer = result ? result : L"";
  SysFreeString(result);
  if (answer == L"*REPAIR*") {
    LONG saved = 0;
    VARIANT_BOOL ok = VARIANT_FALSE;
    db->Repair(file, &saved, &ok);
    result = nullptr;
    db->Open(file, 0, 0, &result);
    answer = result ? result : L"";
    SysFreeString(result);
  }
  if (answer.empty() || answer == L"*REPAIR*") {
    ++t.refused;
    return;
  }
  ++t.opened;
  for (const wchar_t* table : {L"tblGlobal", L"tblLayer", L"tblLayerKey", L"tblLayerSystem", L"tblTextStyle",
                               L"tblDuct", L"tblMonth"}) {
    VARIANT_BOOL ok = VARIANT_FALSE, found = VARIANT_FALSE;
    db->SetTable(_bstr_t(table), _bstr_t(L""), &ok);
    if (!ok) continue;
    SAFEARRAY* row = nullptr;
    db->MoveFirst(&row, &found);
    for (int n = 0; found && n < 100000; ++n) {
      if (row) SafeArrayDestroy(row);
      row = nullptr;
      db->MoveNext(1, &row, &found);
    }
    if (row) SafeArrayDestroy(row);
  }
  VARIANT_BOOL done = VARIANT_FALSE;
  db->Close(&done);
}

std::size_t objectsIn(const std::string& seedPath) {
  AcDbDatabase db(false, false);
  return db.readDwgFile(wide(seedPath).c_str()) == Acad::eOk ? db.numObjects() : 0;
}

void readOne(FileKind kind, const std::string& path, const std::string& folder, std::size_t seedObjects, FileTally& t) {
  ++t.files;
  switch (kind) {
    case FileKind::Dwg: readDrawing(path, folder, seedObjects, t); break;
    case FileKind::Dxf: readDxf(path, folder, t); break;
    case FileKind::Project: readProject(path, t); break;
  }
}

void loadClasses() {
  static bool loaded = acrxLoadModule(L"kv_kv-solid2019x64.dbx", false);
  (void)loaded;
}

}  // namespace

int fileWorker(FileKind kind, const std::string& folder, std::uint64_t seed, std::uint64_t batch, int files,
               bool avoidKnown) {
  loadClasses();
  std::string seedPath = folder + "/../" + seedName(kind);
  std::vector<unsigned char> seedBytes = readBytes(seedPath);
  if (seedBytes.empty()) {
    std::fprintf(stderr, "kvfuzz: no seed %s\n", seedPath.c_str());
    return 2;
  }
  std::size_t seedObjects = kind == FileKind::Dwg ? objectsIn(seedPath) : 0;
  Rng rng(seed, batch);
  FileTally t;
  for (int i = 0; i < files; ++i) {
    std::string path = folder + "/case." + extensionOf(kind);
    writeBytes(path, mutate(kind, seedBytes, rng, avoidKnown));
    std::printf("kvfuzz-file %d\n", i);
    std::fflush(stdout);
    readOne(kind, path, folder, seedObjects, t);
  }
  std::printf("%s\n", t.line().c_str());
  return 0;
}

int fileReplay(FileKind kind, const std::string& path, const std::string& folder) {
  loadClasses();
  FileTally t;
  readOne(kind, path, folder, 0, t);
  std::printf("%s\n", t.line().c_str());
  return 0;
}

bool makeSeeds(const std::string& kvhost, const std::string& folder) {
  fs::create_directories(folder);
  writeText(folder + "/seeds.lsp", kSeedScript);
  Limits limits;
  Outcome o = runChild({kvhost, "--project", folder, "--open", folder + "/seed-work.dwg", folder + "/seeds.lsp"},
                       folder, limits);
  if (o.verdict != Verdict::Ok || !fs::exists(folder + "/seed.dwg") || !fs::exists(folder + "/seed.dxf")) {
    std::fprintf(stderr, "kvfuzz: kvhost could not make the seed files (%s): %s\n", o.detail.c_str(),
                 readText(folder + "/out.txt").c_str());
    return false;
  }
  fs::copy_file(folder + "/" + fs::path(folder).filename().string() + "_kv_hvac.kv", folder + "/seed_kv_hvac.kv",
                fs::copy_options::overwrite_existing);
  return true;
}

int runFileFuzzer(const FileOptions& o) {
  std::string seeds = o.work + "/seeds";
  if (!fs::exists(seeds + "/seed_kv_hvac.kv") && !makeSeeds(o.kvhost, seeds)) return 1;
  int failures = 0;
  double seconds = 0;
  FileTally total;
  for (std::uint64_t b = o.firstBatch; b < o.firstBatch + o.batches; ++b) {
    std::string folder = seeds + "/batch-" + extensionOf(o.kind);
    fs::remove_all(folder);
    fs::create_directories(folder);
    Outcome out = runChild({o.self, "file-worker", extensionOf(o.kind), std::to_string(o.seed), std::to_string(b),
                            std::to_string(o.filesPerBatch), o.avoidKnown ? "avoid-known" : "all"},
                           folder, o.limits);
    seconds += out.seconds;
    std::string printed = readText(folder + "/out.txt");
    total.add(FileTally::parse(printed));
    if (out.verdict == Verdict::Ok) continue;
    ++failures;
    std::size_t at = printed.rfind("kvfuzz-file ");
    int index = at == std::string::npos ? -1 : std::atoi(printed.c_str() + at + 12);
    std::printf("kvfuzz %s: seed %llu batch %llu file %d: %s: %s\n", extensionOf(o.kind),
                static_cast<unsigned long long>(o.seed), static_cast<unsigned long long>(b), index,
                verdictName(out.verdict), out.detail.c_str());
    std::fflush(stdout);
    if (!o.saveFolder.empty() && index >= 0) {
      fs::create_directories(o.saveFolder);
      std::string name = o.saveFolder + "/" + extensionOf(o.kind) + "-s" + std::to_string(o.seed) + "-b" +
                         std::to_string(b) + "-f" + std::to_string(index) + "." + extensionOf(o.kind);
      fs::copy_file(folder + "/case." + extensionOf(o.kind), name, fs::copy_options::overwrite_existing);
      std::printf("kvfuzz %s: kept %s\n", extensionOf(o.kind), name.c_str());
    }
  }
  std::printf("kvfuzz %s: %llu files in %llu batches, %d failing, %.1f s; opened %llu, refused %llu",
              extensionOf(o.kind), static_cast<unsigned long long>(total.files),
              static_cast<unsigned long long>(o.batches), failures, seconds,
              static_cast<unsigned long long>(total.opened), static_cast<unsigned long long>(total.refused));
  if (o.kind == FileKind::Dwg)
    std::printf("; recovered %llu, not recovered %llu, objects kept %llu of %llu, round trips losing %llu",
                static_cast<unsigned long long>(total.recovered), static_cast<unsigned long long>(total.recoverFailed),
                static_cast<unsigned long long>(total.objectsKept), static_cast<unsigned long long>(total.objectsSeed),
                static_cast<unsigned long long>(total.roundTripLost));
  std::printf("\n");
  return failures;
}

}  // namespace kvfuzz
