// The load-table generator's model: published reference data, the clear-sky solar model,
// sol-air temperatures, transfer-function identification and the three hourly tables.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace cltd {

inline constexpr int kHours = 24;
inline constexpr int kMonths = 12;
inline constexpr int kLatitudes = 7;
inline constexpr int kZones = 4;
inline constexpr int kGlassPositions = 9;  // N NE E SE S SW W NW, then horizontal
inline constexpr int kWallRows = 15;
inline constexpr int kWallPositions = 8;
inline constexpr int kRoofRows = 10;
inline constexpr int kSurfaces = 17;  // 16 compass points from N clockwise, then horizontal
inline constexpr int kHorizontal = 16;
inline constexpr int kPublishedRoofs = 10;
inline constexpr int kJuly = 6;
inline constexpr int kAnchorLatitude = 3;  // 40 deg N

inline constexpr std::size_t kGlassEntries = 12 * 7 * 4 * 9 * 24;
inline constexpr std::size_t kWallEntries = 12 * 7 * 15 * 8 * 24;
inline constexpr std::size_t kRoofEntries = 12 * 7 * 10 * 24;
inline constexpr std::size_t kBlockEntries = kGlassEntries + kWallEntries + kRoofEntries;

// One day's values at the whole solar hours 1 am .. midnight.
using Day = std::array<double, kHours>;

// Degrees north of latitude row r.
constexpr double latitudeOfRow(int row) { return 8.0 * (row + 2); }
// Surface index (0..15, compass points) of a table orientation position (0..7).
constexpr int surfaceOfPosition(int position) { return position == 8 ? kHorizontal : 2 * position; }

// The clear-sky constants of the 21st of one month.
struct MonthSky {
  double aSi = 0;         // apparent extraterrestrial irradiance, W/m2
  double b = 0;           // atmospheric extinction coefficient
  double c = 0;           // diffuse sky factor
  double declination = 0; // degrees
};

// Everything the generator reads from the published record (data folder).
struct Published {
  std::array<MonthSky, kMonths> sky{};
  Day rangePercent{};                 // percent of the daily range below the maximum
  std::array<double, 6> glassT{};     // transmittance polynomial in cos(theta)
  std::array<double, 6> glassA{};     // absorptance polynomial in cos(theta)
  std::array<std::array<Day, kGlassPositions>, kZones> glassScl{};  // July 40 N, Btu/(h ft2)
  std::array<std::array<Day, kWallPositions>, kWallRows> wallSi{};   // July 40 N, K
  std::array<Day, kPublishedRoofs> roofSi{};  // July 40 N, K: roofs 1 2 3 4 5 8 9 10 13 14
  std::vector<double> shgf;       // W/m2, [latitude][month][surface][hour]
  std::vector<char> shgfSuspect;  // same shape: cells the record lists as suspect
  Day wall1South{}, wall16Northwest{}, roof1January{}, roof1June{};  // IP print rows, F
  // Older latitude-month correction, F: [latitude row][month][N NNE NE ENE E ESE SE SSE S HOR].
  std::array<std::array<std::array<double, 10>, kMonths>, kLatitudes> monthCorrection{};

  double shgfAt(int lat, int month, int surface, int hour) const {
    return shgf[((static_cast<std::size_t>(lat) * kMonths + month) * kSurfaces + surface) * kHours + hour];
  }
  bool suspectAt(int lat, int month, int surface, int hour) const {
    return shgfSuspect[((static_cast<std::size_t>(lat) * kMonths + month) * kSurfaces + surface) * kHours + hour] != 0;
  }
};

// Reads every file the generator needs from dir. Throws std::runtime_error naming the file and
// line of the first thing it cannot read.
Published loadPublished(const std::string& dir);

// ---------------------------------------------------------------------------------------------
// Solar model (SI inside; tables are in IP)
// ---------------------------------------------------------------------------------------------

inline constexpr double kWattsPerBtuFt2 = 3.1546;  // W/m2 per Btu/(h ft2)

// Irradiance on one surface at one whole solar hour, W/m2.
struct Irradiance {
  double direct = 0;   // beam on the surface
  double diffuse = 0;  // sky diffuse on the surface
  double ground = 0;   // ground-reflected
  double cosIncidence = 0;
  double total() const { return direct + diffuse + ground; }
};

// Clear-sky irradiance for latitude (degrees north), surface index and hour index (0 = 1 am).
// Zero when the sun is at or below the horizon.
Irradiance irradiance(const MonthSky& sky, double latitude, int surface, int hour);
// Solar heat gain through the reference glass, W/m2.
double heatGain(const Published& data, const Irradiance& e);

// Design-day outdoor dry bulb, F: 95 F maximum, 21 F range, published hourly profile.
Day outdoorTemperature(const Published& data);
inline constexpr double kIndoor = 78.0;
inline constexpr double kAlphaOverH = 0.30;  // h ft2 F / Btu, dark surface

// Sol-air temperature, F, of a surface; longWave is subtracted on horizontal surfaces only.
Day solAir(const Published& data, int month, int latRow, int surface, double longWave);
// Hourly heat gain through the reference glass, Btu/(h ft2).
Day glassGain(const Published& data, int month, int latRow, int surface);

// ---------------------------------------------------------------------------------------------
// Transfer functions
// ---------------------------------------------------------------------------------------------

// y(t) = sum b[n] u(t-n) - sum d[n] y(t-n) (d[0] = 1 implied) over a periodic day, with unit
// steady gain: sum b = 1 + sum d.
class TransferFunction {
 public:
  TransferFunction() = default;
  TransferFunction(std::vector<double> b, std::vector<double> d) : b_(std::move(b)), d_(std::move(d)) {}
  // The periodic steady response to a 24-hour periodic input.
  Day respond(const Day& u) const;
  const std::vector<double>& b() const { return b_; }
  const std::vector<double>& d() const { return d_; }

 private:
  std::vector<double> b_, d_;
};

// Least-squares identification with unit gain: an equation-error start refined by damped
// Gauss-Newton on the output error over all input/output pairs.
TransferFunction identify(std::span<const Day> inputs, std::span<const Day> outputs, int nb, int nd);

// ---------------------------------------------------------------------------------------------
// The tables
// ---------------------------------------------------------------------------------------------

// Offsets of one entry in the block: glass, then walls, then roofs.
constexpr std::size_t glassIndex(int m, int l, int z, int p, int h) {
  return (((static_cast<std::size_t>(m) * 7 + l) * 4 + z) * 9 + p) * 24 + h;
}
constexpr std::size_t wallIndex(int m, int l, int w, int p, int h) {
  return kGlassEntries + (((static_cast<std::size_t>(m) * 7 + l) * 15 + w) * 8 + p) * 24 + h;
}
constexpr std::size_t roofIndex(int m, int l, int r, int h) {
  return kGlassEntries + kWallEntries + ((static_cast<std::size_t>(m) * 7 + l) * 10 + r) * 24 + h;
}

// The generated tables and what the fit learnt.
struct Generated {
  std::vector<std::int16_t> block;  // kBlockEntries values
  double longWave = 0;              // horizontal long-wave correction, F
  std::string report;               // the fidelity report, Markdown
};

// Builds the three tables and the fidelity report. Deterministic.
Generated generate(const Published& data);

// Writes the generated block as C++ source defining kvCltdBlock.
std::string emitSource(const Generated& g);

}  // namespace cltd
