#include "scoring/recordclassifier.h"

namespace TreeOut_800 {

RecordClassifier::~RecordClassifier() = default;

}  // namespace TreeOut_800
