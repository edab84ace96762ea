// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/coded_colours.h"

namespace vistrel {

Chromaticities PrimariesOfCode(int primaries) {
    switch (primaries) {
        case 4:  // BT.470 System M
            return {0.310, 0.316, 0.67, 0.33, 0.21, 0.71, 0.14, 0.08};
        case 5:  // BT.601 with 625 lines
            return {0.3127, 0.3290, 0.64, 0.33, 0.29, 0.60, 0.15, 0.06};
        case 6:  // BT.601 with 525 lines
        case 7:  // SMPTE 240M
            return {0.3127, 0.3290, 0.630, 0.340, 0.310, 0.595, 0.155, 0.070};
        case 8:  // film
            return {0.310, 0.316, 0.681, 0.319, 0.243, 0.692, 0.145, 0.049};
        case 9:  // BT.2020 and BT.2100
            return {0.3127, 0.3290, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046};
        case 11:  // DCI-P3
            return {0.314, 0.351, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060};
        case 12:  // Display P3
            return {0.3127, 0.3290, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060};
        case 22:  // EBU 3213
            return {0.3127, 0.3290, 0.630, 0.340, 0.295, 0.605, 0.155, 0.077};
        default:
            return kSrgbChromaticities;
    }
}

LightCurve CurveOfCode(int transfer) {
    switch (transfer) {
        case 1:   // BT.709
        case 6:   // BT.601
        case 11:  // IEC 61966-2-4, which goes on below 0
        case 12:  // BT.1361, likewise
        case 14:  // BT.2020
        case 15:
            return {1 / 0.45, 1 / 1.099, 0.099 / 1.099, 1 / 4.5, 0.081};
        case 4:
            return {.gamma = 2.2};
        case 5:
            return {.gamma = 2.8};
        case 7:  // SMPTE 240M
            return {1 / 0.45, 1 / 1.1115, 0.1115 / 1.1115, 1 / 4.0, 0.0913};
        case kLinearTransfer:
            return {.gamma = 1};
        case 17:  // SMPTE ST 428-1, a root of 52.37 / 48
            return {.gamma = 2.6, .a = 1.03408};
        default:
            return kSrgbCurve;
    }
}

}  // namespace vistrel
