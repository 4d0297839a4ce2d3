#include "output/stringwrapper.h"

namespace TreeOut_800 {

StringWrapper::StringWrapper() = default;

StringWrapper::StringWrapper(std::string const& text) : fnText(text.c_str()) {}

std::string StringWrapper::Str() const { return fnText; }

}  // namespace TreeOut_800
