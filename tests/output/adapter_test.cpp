// The adapter's version record and the string holder of its results.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "output/rulesoutputadapter.h"
#include "refhost/builder.h"

namespace {

using TreeOut_800::RulesOutputAdapter;
using TreeOut_800::StringWrapper;

TEST(RulesOutputAdapter, GetVersionIsOneRecordForEveryAdapter) {
  refhost::ModelBuilder builder;
  builder.ClassTarget("t", {"a", "b"});
  builder.Node(0).Predict(1, {1.0, 0.0});
  refhost::Model const model = builder.Build();
  RulesOutputAdapter const first(&model.GetTree(), &model.GetMetadata());
  RulesOutputAdapter const second(&model.GetTree(), &model.GetMetadata());

  MCTree_800::MCVersionImp const& version = first.GetVersion();
  EXPECT_EQ(&version, &second.GetVersion());
  EXPECT_EQ(version.GetMajor(), 0);
  EXPECT_EQ(version.GetMinor(), 9);
  EXPECT_EQ(version.GetMicro(), 0);
  EXPECT_EQ(version.GetBuild(), 3);
  EXPECT_EQ(version.GetDate(), "Sat Oct 21 22:55:58 2017");

  // Asked from several threads at once, it is still the one record.
  std::vector<MCTree_800::MCVersionImp const*> seen(4, nullptr);
  std::vector<std::thread> threads;
  for (auto& slot : seen) threads.emplace_back([&] { slot = &first.GetVersion(); });
  for (auto& thread : threads) thread.join();
  for (auto const* record : seen) EXPECT_EQ(record, &version);
}

TEST(StringWrapper, HoldsACopyUpToTheFirstNul) {
  EXPECT_EQ(StringWrapper().Str(), "");
  std::string text = "SELECT * FROM <TABLE>;";
  StringWrapper const wrapped(text);
  text[0] = 'X';
  EXPECT_EQ(wrapped.Str(), "SELECT * FROM <TABLE>;");
  EXPECT_EQ(StringWrapper(std::string("ab\0cd", 5)).Str(), "ab");
}

}  // namespace
