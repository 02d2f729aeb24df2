// The clear-sky solar model: sun position at whole solar hours, beam, sky and ground irradiance,
// heat gain through the reference glass, and sol-air temperatures of the design day.
#include <cmath>

#include "cltdmodel.h"

namespace cltd {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;
constexpr double kGroundReflectance = 0.2;
constexpr double kInwardFraction = 0.267;  // share of absorbed solar that flows inward

// Sun direction in a local frame: x east, y north, z up.
struct SunVector {
  double x, y, z;
};

SunVector sunAt(double latitude, double declination, int hour) {
  const double lat = latitude * kDegree, dec = declination * kDegree;
  const double ha = 15.0 * (hour + 1 - 12) * kDegree;  // hour index 0 is 1 am
  return {-std::cos(dec) * std::sin(ha), std::sin(dec) * std::cos(lat) - std::cos(dec) * std::cos(ha) * std::sin(lat),
          std::sin(lat) * std::sin(dec) + std::cos(lat) * std::cos(dec) * std::cos(ha)};
}

double polynomial(const std::array<double, 6>& k, double c) {
  double v = 0;
  for (int j = 5; j >= 0; --j) v = v * c + k[j];
  return v;
}

// Hemispherical (diffuse) value of a polynomial in cos(theta): 2 sum k_j / (j + 2).
double hemispherical(const std::array<double, 6>& k) {
  double v = 0;
  for (int j = 0; j < 6; ++j) v += 2.0 * k[j] / (j + 2);
  return v;
}

}  // namespace

Irradiance irradiance(const MonthSky& sky, double latitude, int surface, int hour) {
  Irradiance e;
  const SunVector s = sunAt(latitude, sky.declination, hour);
  if (s.z <= 1e-9) return e;
  const double normal = sky.aSi * std::exp(-sky.b / s.z);
  if (surface == kHorizontal) {
    e.cosIncidence = s.z;
    e.direct = normal * s.z;
    e.diffuse = sky.c * normal;
    return e;
  }
  const double azimuth = 22.5 * surface * kDegree;  // clockwise from north
  const double c = s.x * std::sin(azimuth) + s.y * std::cos(azimuth);
  e.cosIncidence = c;
  e.direct = normal * std::max(c, 0.0);
  const double y = c > -0.2 ? 0.55 + 0.437 * c + 0.313 * c * c : 0.45;
  e.diffuse = sky.c * normal * y;
  e.ground = normal * (sky.c + s.z) * kGroundReflectance / 2.0;
  return e;
}

double heatGain(const Published& data, const Irradiance& e) {
  const double c = std::max(e.cosIncidence, 0.0);
  const double beam = c > 0 ? polynomial(data.glassT, c) + kInwardFraction * polynomial(data.glassA, c) : 0.0;
  const double diffuse = hemispherical(data.glassT) + kInwardFraction * hemispherical(data.glassA);
  return e.direct * beam + (e.diffuse + e.ground) * diffuse;
}

Day outdoorTemperature(const Published& data) {
  Day t{};
  for (int h = 0; h < kHours; ++h) t[h] = 95.0 - 21.0 * data.rangePercent[h] / 100.0;
  return t;
}

Day solAir(const Published& data, int month, int latRow, int surface, double longWave) {
  Day t = outdoorTemperature(data);
  for (int h = 0; h < kHours; ++h) {
    const Irradiance e = irradiance(data.sky[month], latitudeOfRow(latRow), surface, h);
    t[h] += kAlphaOverH * e.total() / kWattsPerBtuFt2;
    if (surface == kHorizontal) t[h] -= longWave;
  }
  return t;
}

Day glassGain(const Published& data, int month, int latRow, int surface) {
  Day q{};
  for (int h = 0; h < kHours; ++h)
    q[h] = heatGain(data, irradiance(data.sky[month], latitudeOfRow(latRow), surface, h)) / kWattsPerBtuFt2;
  return q;
}

}  // namespace cltd
