// Readers of the published reference data: one keyed row per line, '#' lines are comments.
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "cltdmodel.h"

namespace cltd {
namespace {

// One data line: its keys (leading words) and its numbers.
struct Row {
  std::vector<std::string> keys;
  std::vector<double> values;
  int line = 0;
};

// Splits a line into leading non-numeric keys and the numbers after them; a purely numeric
// first word is a key when keyCount says so.
Row splitRow(const std::string& text, std::size_t keyCount, int line) {
  Row row;
  row.line = line;
  std::istringstream in(text);
  std::string word;
  while (in >> word) {
    if (row.keys.size() < keyCount) {
      row.keys.push_back(word);
      continue;
    }
    std::size_t used = 0;
    double v = 0;
    try {
      v = std::stod(word, &used);
    } catch (const std::exception&) {
      used = 0;
    }
    if (used != word.size()) throw std::runtime_error("line " + std::to_string(line) + ": not a number: " + word);
    row.values.push_back(v);
  }
  return row;
}

// All data rows of a file, each with keyCount keys and valueCount numbers.
std::vector<Row> readRows(const std::string& path, std::size_t keyCount, std::size_t valueCount) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error(path + ": cannot open");
  std::vector<Row> rows;
  std::string text;
  int line = 0;
  while (std::getline(in, text)) {
    ++line;
    if (text.find_first_not_of(" \t\r") == std::string::npos || text[text.find_first_not_of(" \t")] == '#') continue;
    try {
      Row row = splitRow(text, keyCount, line);
      if (row.keys.size() != keyCount || row.values.size() != valueCount)
        throw std::runtime_error("line " + std::to_string(line) + ": expected " + std::to_string(valueCount) + " values");
      rows.push_back(std::move(row));
    } catch (const std::runtime_error& e) {
      throw std::runtime_error(path + ": " + e.what());
    }
  }
  return rows;
}

Day toDay(const std::vector<double>& v) {
  Day d{};
  for (int h = 0; h < kHours; ++h) d[h] = v[h];
  return d;
}

const char* const kMonthNames[kMonths] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const kSurfaceNames[kSurfaces] = {"N", "NNE", "NE", "ENE", "E", "ESE", "SE", "SSE", "S",
                                              "SSW", "SW", "WSW", "W", "WNW", "NW", "NNW", "HOR"};

int indexOf(const char* const* names, int count, const std::string& key, const std::string& where) {
  for (int i = 0; i < count; ++i)
    if (key == names[i]) return i;
  throw std::runtime_error(where + ": unknown key " + key);
}

void expectCount(const std::vector<Row>& rows, std::size_t n, const std::string& path) {
  if (rows.size() != n) throw std::runtime_error(path + ": expected " + std::to_string(n) + " rows");
}

void readSky(Published& p, const std::string& dir) {
  const std::string path = dir + "/ashrae_clear_sky_constants.txt";
  auto rows = readRows(path, 1, 7);
  expectCount(rows, kMonths, path);
  for (const Row& r : rows) {
    int m = indexOf(kMonthNames, kMonths, r.keys[0], path);
    p.sky[m] = MonthSky{r.values[1], r.values[2], r.values[3], r.values[4]};
  }
}

void readGlassData(Published& p, const std::string& dir) {
  std::string path = dir + "/dsa_glass_coefficients.txt";
  auto rows = readRows(path, 1, 6);
  for (const Row& r : rows) {
    auto& target = r.keys[0] == "t" ? p.glassT : p.glassA;
    for (int j = 0; j < 6; ++j) target[j] = r.values[j];
  }
  path = dir + "/glass_scl_july_40n_ip.txt";
  rows = readRows(path, 2, kHours);
  expectCount(rows, kZones * kGlassPositions, path);
  static const char* const zones[] = {"A", "B", "C", "D"};
  static const char* const positions[] = {"N", "NE", "E", "SE", "S", "SW", "W", "NW", "HOR"};
  for (const Row& r : rows)
    p.glassScl[indexOf(zones, 4, r.keys[0], path)][indexOf(positions, 9, r.keys[1], path)] = toDay(r.values);
}

void readOpaque(Published& p, const std::string& dir) {
  std::string path = dir + "/wall_cltd_july_40n_si.txt";
  auto rows = readRows(path, 2, kHours);
  expectCount(rows, kWallRows * kWallPositions, path);
  static const char* const walls[] = {"1", "2", "3", "4", "5", "6", "7", "9", "10", "11", "12", "13", "14", "15", "16"};
  static const char* const positions[] = {"N", "NE", "E", "SE", "S", "SW", "W", "NW"};
  for (const Row& r : rows)
    p.wallSi[indexOf(walls, kWallRows, r.keys[0], path)][indexOf(positions, 8, r.keys[1], path)] = toDay(r.values);
  path = dir + "/roof_cltd_july_40n_si.txt";
  rows = readRows(path, 1, kHours);
  expectCount(rows, kPublishedRoofs, path);
  static const char* const roofs[] = {"1", "2", "3", "4", "5", "8", "9", "10", "13", "14"};
  for (const Row& r : rows) p.roofSi[indexOf(roofs, kPublishedRoofs, r.keys[0], path)] = toDay(r.values);
  path = dir + "/ip_print_rows.txt";
  rows = readRows(path, 1, kHours);
  static const char* const keys[] = {"wall1-S", "wall16-NW", "roof1-Jan", "roof1-Jun"};
  Day* targets[] = {&p.wall1South, &p.wall16Northwest, &p.roof1January, &p.roof1June};
  expectCount(rows, 4, path);
  for (const Row& r : rows) *targets[indexOf(keys, 4, r.keys[0], path)] = toDay(r.values);
}

void readShgf(Published& p, const std::string& dir) {
  const std::size_t cells = static_cast<std::size_t>(kLatitudes) * kMonths * kSurfaces * kHours;
  p.shgf.assign(cells, 0.0);
  p.shgfSuspect.assign(cells, 0);
  for (int l = 0; l < kLatitudes; ++l) {
    const std::string path = dir + "/shgf_" + std::to_string(8 * (l + 2)) + "n_si.txt";
    auto rows = readRows(path, 2, kHours);
    expectCount(rows, kMonths * kSurfaces, path);
    for (const Row& r : rows) {
      int m = indexOf(kMonthNames, kMonths, r.keys[0], path);
      int s = indexOf(kSurfaceNames, kSurfaces, r.keys[1], path);
      for (int h = 0; h < kHours; ++h) p.shgf[((static_cast<std::size_t>(l) * kMonths + m) * kSurfaces + s) * kHours + h] = r.values[h];
    }
  }
  const std::string path = dir + "/shgf_doubtful_cells.txt";
  std::ifstream in(path);
  if (!in) throw std::runtime_error(path + ": cannot open");
  std::string text;
  while (std::getline(in, text)) {
    if (text.empty() || text[0] == '#') continue;
    std::istringstream row(text);
    int lat = 0, hour = 0;
    std::string month, surface;
    if (!(row >> lat >> month >> hour >> surface) || lat % 8 != 0 || lat < 16 || lat > 64 || hour < 1 || hour > 24)
      throw std::runtime_error(path + ": unreadable row: " + text);
    int l = lat / 8 - 2, m = indexOf(kMonthNames, kMonths, month, path), s = indexOf(kSurfaceNames, kSurfaces, surface, path);
    p.shgfSuspect[((static_cast<std::size_t>(l) * kMonths + m) * kSurfaces + s) * kHours + hour - 1] = 1;
  }
}

// One printed row serves two months (Jan/Nov, ...); latitudes below 16 N have no table row here.
void readMonthCorrection(Published& p, const std::string& dir) {
  const std::string path = dir + "/cltd_lm_correction_1989_ip.txt";
  const auto rows = readRows(path, 2, 10);
  static const char* const keys[] = {"Dec", "Jan/Nov", "Feb/Oct", "Mar/Sep", "Apr/Aug", "May/Jul", "Jun"};
  static const int first[] = {11, 0, 1, 2, 3, 4, 5}, second[] = {11, 10, 9, 8, 7, 6, 5};
  int filled = 0;
  for (const Row& r : rows) {
    const int lat = std::stoi(r.keys[0]);
    if (lat < 16) continue;
    if (lat % 8 != 0 || lat > 64) throw std::runtime_error(path + ": line " + std::to_string(r.line) + ": latitude");
    const int k = indexOf(keys, 7, r.keys[1], path);
    for (int c = 0; c < 10; ++c)
      p.monthCorrection[lat / 8 - 2][first[k]][c] = p.monthCorrection[lat / 8 - 2][second[k]][c] = r.values[c];
    filled += k == 6 || k == 0 ? 1 : 2;
  }
  if (filled != kLatitudes * kMonths) throw std::runtime_error(path + ": incomplete");
}

}  // namespace

Published loadPublished(const std::string& dir) {
  Published p;
  readSky(p, dir);
  auto pct = readRows(dir + "/design_day_percent_of_daily_range.txt", 1, kHours);
  expectCount(pct, 1, dir + "/design_day_percent_of_daily_range.txt");
  p.rangePercent = toDay(pct[0].values);
  readGlassData(p, dir);
  readOpaque(p, dir);
  readShgf(p, dir);
  readMonthCorrection(p, dir);
  return p;
}

}  // namespace cltd
