// Destructors of the abstract metadata classes.
#include "host/encoding.h"
#include "host/metadata.h"

namespace mdt_800 {

Encoder::~Encoder() = default;
ModelMetadata::~ModelMetadata() = default;

}  // namespace mdt_800
