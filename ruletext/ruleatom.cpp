#include "ruletext/ruleatom.h"

namespace TreeOut_800 {

RuleAtom::~RuleAtom() {}

}  // namespace TreeOut_800
