// A rule for one level as the peer's look-up table.
#ifndef BENCH_PEER_TABLE_H
#define BENCH_PEER_TABLE_H

#include <opencv2/core.hpp>

template <typename RULE> static cv::Mat TableOf(RULE value)
{
    enum { LEVELS = 256 };
    cv::Mat table(1, LEVELS, CV_8U);
    for (int level = 0; level < LEVELS; level++) {
        table.at<unsigned char>(0, level) = (unsigned char)value(level);
    }
    return table;
}

#endif
