// The physical-presence jumper as a board carries it: the platform file
// fits it, the driver's constructors configure its GPIO pad at load, and a
// later run of the same machine still has it.
#include <gtest/gtest.h>

#include <Library/SecurityGpioConfigLib/SecurityGpioConfigLib.h>

#include "DeviceMachine.hpp"
#include "ScenarioMachine.hpp"

namespace carvex::test {
namespace {

TEST (PhysicalPresenceBoardTest, JumperFitted_PadConfiguredAtLoadAndKeptAcrossRuns) {
  DeviceMachine machine(R"({"sockets": 1, "modules": [{"socket": 0, "slot": 1, "capacity": "128 GiB"}],
                            "securityJumper": true})");
  machine.Boot();
  const GPIO_CONFIG& pad = machine.devices().Gpio().JumperPadConfig();
  // The power-up value keeps only its reset bits; the rest makes an input.
  EXPECT_EQ(pad.Dw[0], (0x44001800u & SECURITY_JUMPER_CONFIG_KEEP) | SECURITY_JUMPER_CONFIG_INPUT);
  EXPECT_TRUE(machine.machine().Log().Contains("PPHConstructor entry", kDriverImage));

  machine.Reopen();
  EXPECT_TRUE(machine.devices().State().securityJumperFitted);
  UINT32 level = 1;
  CARVEX_PCH_GPIO_PROTOCOL* gpio = machine.devices().Gpio().Protocol();
  ASSERT_EQ(gpio->GetInputValue(gpio, SECURITY_JUMPER_GPIO_PAD, &level), EFI_SUCCESS);
  EXPECT_EQ(level, 0u);
}

}  // namespace
}  // namespace carvex::test
