#include "device/TrendSeries.h"

#include <algorithm>
#include <cmath>

namespace quorvel {

TrendSeries::TrendSeries(std::size_t capacity) : points_(std::max<std::size_t>(capacity, 1)) {}

void TrendSeries::Append(double ms, double value) {
  if (size_ > 0) ms = std::max(ms, Newest().ms);
  if (size_ < points_.size()) {
    points_[(first_ + size_) % points_.size()] = {ms, value};
    ++size_;
  } else {
    points_[first_] = {ms, value};
    first_ = (first_ + 1) % points_.size();
  }
}

void TrendSeries::Clear() {
  first_ = 0;
  size_ = 0;
}

std::size_t TrendSeries::LowerBound(double ms) const {
  std::size_t low = 0, high = size_;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    if (At(middle).ms < ms)
      low = middle + 1;
    else
      high = middle;
  }
  return low;
}

void TrendSeries::Decimate(double fromMs, double toMs, std::size_t buckets, std::vector<TrendPoint>& out) const {
  if (size_ == 0 || !(toMs > fromMs) || buckets == 0) return;
  const std::size_t begin = LowerBound(fromMs);
  const std::size_t end = LowerBound(std::nextafter(toMs, HUGE_VAL));
  // The neighbours outside the window carry the line to its edges.
  if (begin > 0) out.push_back(At(begin - 1));
  if (end - begin <= 2 * buckets) {
    for (std::size_t i = begin; i < end; ++i) out.push_back(At(i));
  } else {
    const double width = (toMs - fromMs) / static_cast<double>(buckets);
    std::size_t i = begin;
    while (i < end) {
      // A point at the window's very end belongs to the last bucket.
      const auto bucket = static_cast<std::size_t>((At(i).ms - fromMs) / width);
      const double bucketEnd = bucket + 1 >= buckets ? HUGE_VAL : fromMs + static_cast<double>(bucket + 1) * width;
      std::size_t low = i, high = i;
      for (++i; i < end && At(i).ms < bucketEnd; ++i) {
        if (At(i).value < At(low).value) low = i;
        if (At(i).value > At(high).value) high = i;
      }
      out.push_back(At(std::min(low, high)));
      if (low != high) out.push_back(At(std::max(low, high)));
    }
  }
  if (end < size_) out.push_back(At(end));
}

bool TrendSeries::Nearest(double ms, TrendPoint& point) const {
  if (size_ == 0) return false;
  const std::size_t after = LowerBound(ms);
  if (after == size_) {
    point = Newest();
  } else if (after == 0 || At(after).ms - ms < ms - At(after - 1).ms) {
    point = At(after);
  } else {
    point = At(after - 1);
  }
  return true;
}

}  // namespace quorvel
