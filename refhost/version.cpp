// The version record.
#include "host/record.h"

namespace MCTree_800 {

MCVersionImp::MCVersionImp(int major, int minor, int micro, int build, char const* date)
    : fnNumbers{major, minor, micro, build}, fnDate(date ? date : "") {}

MCVersionImp::~MCVersionImp() = default;

int MCVersionImp::GetMajor() const { return fnNumbers[0]; }
int MCVersionImp::GetMinor() const { return fnNumbers[1]; }
int MCVersionImp::GetMicro() const { return fnNumbers[2]; }
int MCVersionImp::GetBuild() const { return fnNumbers[3]; }
std::string const& MCVersionImp::GetDate() const { return fnDate; }

}  // namespace MCTree_800
