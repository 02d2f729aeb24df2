// Transfer functions over a periodic day: the steady periodic response in the frequency domain,
// and least-squares identification from hourly input/output pairs.
#include <cmath>
#include <algorithm>
#include <complex>
#include <stdexcept>

#include "cltdmodel.h"

namespace cltd {
namespace {

constexpr double kPi = 3.14159265358979323846;
using Complex = std::complex<double>;

// Solves the small dense system a x = r in place (partial pivoting). Throws when singular.
std::vector<double> solve(std::vector<std::vector<double>> a, std::vector<double> r) {
  const std::size_t n = r.size();
  for (std::size_t col = 0; col < n; ++col) {
    std::size_t pivot = col;
    for (std::size_t i = col + 1; i < n; ++i)
      if (std::fabs(a[i][col]) > std::fabs(a[pivot][col])) pivot = i;
    if (std::fabs(a[pivot][col]) < 1e-300) throw std::runtime_error("singular least-squares system");
    std::swap(a[col], a[pivot]);
    std::swap(r[col], r[pivot]);
    for (std::size_t i = col + 1; i < n; ++i) {
      const double f = a[i][col] / a[col][col];
      for (std::size_t j = col; j < n; ++j) a[i][j] -= f * a[col][j];
      r[i] -= f * r[col];
    }
  }
  std::vector<double> x(n);
  for (std::size_t i = n; i-- > 0;) {
    double s = r[i];
    for (std::size_t j = i + 1; j < n; ++j) s -= a[i][j] * x[j];
    x[i] = s / a[i][i];
  }
  return x;
}

// Normal equations of rows (each a regressor vector and its target), with damping lambda on the
// diagonal.
std::vector<double> leastSquares(const std::vector<std::vector<double>>& rows, const std::vector<double>& target,
                                 double lambda) {
  const std::size_t n = rows.front().size();
  std::vector<std::vector<double>> a(n, std::vector<double>(n, 0.0));
  std::vector<double> r(n, 0.0);
  for (std::size_t k = 0; k < rows.size(); ++k)
    for (std::size_t i = 0; i < n; ++i) {
      r[i] += rows[k][i] * target[k];
      for (std::size_t j = 0; j < n; ++j) a[i][j] += rows[k][i] * rows[k][j];
    }
  for (std::size_t i = 0; i < n; ++i) a[i][i] += lambda * (a[i][i] + 1e-12);
  return solve(std::move(a), std::move(r));
}

// Parameters (b1.., d1..) to a transfer function with b0 fixed by unit gain.
TransferFunction fromParameters(const std::vector<double>& p, int nb, int nd) {
  std::vector<double> b(nb + 1), d(p.begin() + nb, p.end());
  double sum = 1.0;
  for (double v : d) sum += v;
  for (int n = 1; n <= nb; ++n) {
    b[n] = p[n - 1];
    sum -= b[n];
  }
  b[0] = sum;
  return TransferFunction(std::move(b), std::move(d));
}

// Equation-error start: y(t) - u(t) = sum b_n (u(t-n) - u(t)) + sum d_n (u(t) - y(t-n)).
std::vector<double> equationError(std::span<const Day> inputs, std::span<const Day> outputs, int nb, int nd) {
  std::vector<std::vector<double>> rows;
  std::vector<double> target;
  for (std::size_t k = 0; k < inputs.size(); ++k)
    for (int t = 0; t < kHours; ++t) {
      const Day &u = inputs[k], &y = outputs[k];
      std::vector<double> row;
      for (int n = 1; n <= nb; ++n) row.push_back(u[(t - n + 48) % kHours] - u[t]);
      for (int n = 1; n <= nd; ++n) row.push_back(u[t] - y[(t - n + 48) % kHours]);
      rows.push_back(std::move(row));
      target.push_back(y[t] - u[t]);
    }
  return leastSquares(rows, target, 1e-9);
}

// Whether 1 + d1 z^-1 + ... has every root inside a circle of radius 0.99: the step-down
// (Schur-Cohn) recursion, whose reflection coefficients must all stay below 1 in size.
bool isStable(const std::vector<double>& d) {
  const double radius = 0.99;
  std::vector<double> a{1.0};
  double scale = 1.0;
  for (double v : d) a.push_back(v * (scale *= 1.0 / radius));
  for (std::size_t m = a.size() - 1; m >= 1; --m) {
    const double k = a[m];
    if (std::fabs(k) >= 1.0) return false;
    std::vector<double> next(m);
    for (std::size_t i = 0; i < m; ++i) next[i] = (a[i] - k * a[m - i]) / (1.0 - k * k);
    a = std::move(next);
  }
  return true;
}

// Sum of squared differences between the simulated and the given outputs; the differences
// themselves into residuals when asked.
double outputError(std::span<const Day> inputs, std::span<const Day> outputs, const TransferFunction& f,
                   std::vector<double>* residuals) {
  double sum = 0;
  if (residuals) residuals->clear();
  for (std::size_t k = 0; k < inputs.size(); ++k) {
    const Day y = f.respond(inputs[k]);
    for (int t = 0; t < kHours; ++t) {
      const double r = y[t] - outputs[k][t];
      sum += r * r;
      if (residuals) residuals->push_back(r);
    }
  }
  return sum;
}

// One Levenberg-Marquardt step from parameters p with residuals r: a forward-difference Jacobian
// of the output error, then the damped normal equations.
std::vector<double> dampedStep(std::span<const Day> inputs, std::span<const Day> outputs, const std::vector<double>& p,
                               const std::vector<double>& r, int nb, int nd, double lambda) {
  std::vector<std::vector<double>> jacobian(r.size(), std::vector<double>(p.size()));
  std::vector<double> rj;
  for (std::size_t i = 0; i < p.size(); ++i) {
    std::vector<double> q = p;
    const double step = 1e-6 * std::max(1.0, std::fabs(p[i]));
    q[i] += step;
    outputError(inputs, outputs, fromParameters(q, nb, nd), &rj);
    for (std::size_t k = 0; k < r.size(); ++k) jacobian[k][i] = (rj[k] - r[k]) / step;
  }
  std::vector<double> minus(r.size());
  for (std::size_t k = 0; k < r.size(); ++k) minus[k] = -r[k];
  const std::vector<double> delta = leastSquares(jacobian, minus, lambda);
  std::vector<double> q = p;
  for (std::size_t i = 0; i < p.size(); ++i) q[i] += delta[i];
  return q;
}

}  // namespace

Day TransferFunction::respond(const Day& u) const {
  static const auto twiddle = [] {
    std::array<Complex, kHours> w{};
    for (int k = 0; k < kHours; ++k) w[k] = std::polar(1.0, -2.0 * kPi * k / kHours);
    return w;
  }();
  Day y{};
  for (int k = 0; k < kHours; ++k) {
    Complex spectrum = 0, num = 0, den = 1.0;
    for (int t = 0; t < kHours; ++t) spectrum += u[t] * twiddle[(k * t) % kHours];
    for (std::size_t n = 0; n < b_.size(); ++n) num += b_[n] * twiddle[(k * n) % kHours];
    for (std::size_t n = 0; n < d_.size(); ++n) den += d_[n] * twiddle[(k * (n + 1)) % kHours];
    const Complex out = spectrum * num / den;
    for (int t = 0; t < kHours; ++t) y[t] += (out * std::conj(twiddle[(k * t) % kHours])).real() / kHours;
  }
  return y;
}

TransferFunction identify(std::span<const Day> inputs, std::span<const Day> outputs, int nb, int nd) {
  std::vector<double> p = equationError(inputs, outputs, nb, nd);
  // An unstable start would be a response that runs ahead of its cause: start from no feedback.
  if (!isStable(fromParameters(p, nb, nd).d())) std::fill(p.begin() + nb, p.end(), 0.0);
  std::vector<double> r;
  double cost = outputError(inputs, outputs, fromParameters(p, nb, nd), &r);
  double lambda = 1e-3;
  for (int iter = 0; iter < 100 && lambda < 1e8; ++iter) {
    const std::vector<double> q = dampedStep(inputs, outputs, p, r, nb, nd, lambda);
    std::vector<double> rq;
    const TransferFunction trialFunction = fromParameters(q, nb, nd);
    const double trial = isStable(trialFunction.d()) ? outputError(inputs, outputs, trialFunction, &rq) : cost + 1;
    if (trial < cost) {
      const bool converged = cost - trial < 1e-10 * cost;
      p = q, r = rq, cost = trial, lambda *= 0.3;
      if (converged) break;
    } else {
      lambda *= 10;
    }
  }
  return fromParameters(p, nb, nd);
}

}  // namespace cltd
