#pragma once

// One value's history for a live chart: (time, value) points in a ring of a
// fixed size, so that a chart left running for days holds its memory, the
// oldest points making room. Times never go back (the clock is monotonic).
//
// A chart never draws more points than it has pixels: Decimate reduces the
// points of a time window to the lowest and the highest of each pixel's
// bucket, in the order they came, which keeps every peak and every dip that a
// line through all points would show.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvel {

struct TrendPoint {
  double ms = 0;  // the clock's milliseconds
  double value = 0;
};

class TrendSeries {
 public:
  // 10 answers a second for a little over 7 hours.
  static constexpr std::size_t kDefaultCapacity = 262144;

  explicit TrendSeries(std::size_t capacity = kDefaultCapacity);

  // Adds a point; one older than the newest is taken as at the newest's time.
  void Append(double ms, double value);
  void Clear();

  std::size_t Size() const { return size_; }
  std::size_t Capacity() const { return points_.size(); }
  // Point `i`, 0 the oldest held.
  const TrendPoint& At(std::size_t i) const { return points_[(first_ + i) % points_.size()]; }
  const TrendPoint& Newest() const { return At(size_ - 1); }

  // The first point at or after `ms`: Size() when there is none.
  std::size_t LowerBound(double ms) const;

  // The points between `fromMs` and `toMs` for a chart `buckets` pixels wide,
  // appended to `out`: the lowest and highest of each bucket in the order
  // they came (one point when they are the same), and the last point before
  // the window and the first after it, so that the line runs to the edges.
  // Every point as it is when there are no more than two a bucket.
  void Decimate(double fromMs, double toMs, std::size_t buckets, std::vector<TrendPoint>& out) const;

  // The point nearest in time to `ms`; false when the series is empty.
  bool Nearest(double ms, TrendPoint& point) const;

 private:
  std::vector<TrendPoint> points_;
  std::size_t first_ = 0;
  std::size_t size_ = 0;
};

}  // namespace quorvel
