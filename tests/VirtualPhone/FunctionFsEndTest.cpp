#include "VirtualPhone/FunctionFsEnd.h"

#include "VirtualPhone/Initiator.h"

namespace {

// What it does on a bus is shown where there is one: in the virtual machine, by other MTP programs.

TEST(FunctionFsEnd, AFolderWithoutFunctionFsIsNamedInTheProblem) {
  testing_phone::TemporaryFolder folder;
  std::string problem;
  EXPECT_FALSE(vphone::FunctionFsEnd::open(folder.path(), problem));
  EXPECT_NE(problem.find(folder.path().string()), std::string::npos);
}

TEST(FunctionFsEnd, EndpointsThatAreMissingAreAProblemNotACrash) {
  testing_phone::TemporaryFolder folder;
  folder.file("ep0", "");
  std::string problem;
  EXPECT_FALSE(vphone::FunctionFsEnd::open(folder.path(), problem));
  EXPECT_NE(problem.find("endpoints"), std::string::npos);
}

} // namespace
