#include "editor/MappingConstants.h"

#include <cmath>

namespace zkeditor {

const double ln20 = std::log(20.0);
const double ln40 = std::log(40.0);
const double ln50 = std::log(50.0);
const double ln65 = std::log(65.0);
const double ln400 = std::log(400.0);
const double ln1300 = std::log(1300.0);
const double ln8000 = std::log(8000.0);
const double ln5 = std::log(5.0);
const double ln2_5 = std::log(2.5);
const double ln0_3 = std::log(0.3);
const double ln0_28 = std::log(0.28);
const double ln15div0_3 = std::log(15.0 / 0.3);
const double ln15div0_28 = std::log(15.0 / 0.28);

const double coeffA = 2.0 * std::pow(10.0, 0.6) - 4.0;
const double coeffB = 4.0 - std::pow(10.0, 0.6);
const double coeffP = coeffB / (-2.0 * coeffA);
const double powCoeffP = coeffP * coeffP;

} // namespace zkeditor
