// Reading IIO sensors: finding them through udev on emulated devices, and turning their
// attributes into the units and axes the library expects.
#include "iio_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "sensor_service_client.h"
#include "udev_devices.h"
#include "umockdev_testbed.h"

namespace Tarvo::Linux {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class IioDeviceTest : public ::testing::Test {
protected:
    // Every sensor udev lists, probed in device order, as the layer finds them.
    std::vector<IioDevice> Scan()
    {
        problems_.clear();
        UdevDevices udev;
        std::string error;
        EXPECT_TRUE(udev.Connect(error)) << error;
        std::vector<IioDevice> devices;
        for (const UdevDevices::Device& device : udev.IioDevices()) {
            std::vector<IioDevice> found =
                IioDevice::Probe(device.syspath, device.sysname, problems_);
            std::move(found.begin(), found.end(), std::back_inserter(devices));
        }
        return devices;
    }
    std::vector<float> ReadOnly(int32_t sensorTypeId)
    {
        for (const IioDevice& device : Scan()) {
            if (device.SensorTypeId() == sensorTypeId) {
                std::vector<float> values;
                std::string error;
                EXPECT_TRUE(device.Read(values, error)) << error;
                return values;
            }
        }
        ADD_FAILURE() << "no sensor of type " << sensorTypeId;
        return {};
    }
    std::string Add(int n, const std::string& name, Tarvo::Test::UmockdevTestbed::Attributes more)
    {
        more.insert(more.begin(), {"name", name});
        return testbed_.AddIio(n, more);
    }
    // Replaces an attribute on disk, where the testbed's own calls cannot reach: with a
    // FIFO, a link, a directory or an oversized file.
    std::string OnDisk(const std::string& syspath, const std::string& attribute)
    {
        return testbed_.OnDisk(syspath) + "/" + attribute;
    }

    Tarvo::Test::UmockdevTestbed testbed_;
    std::vector<std::string> problems_;
};

TEST_F(IioDeviceTest, FindsEverySensorInDeviceOrder)
{
    Add(10, "als", {{"in_illuminance_input", "40"}});
    testbed_.AddAccelerometer(2, 0, 0, 1);
    Add(3, "gyro", {{"in_anglvel_x_raw", "1"}});  // nothing the library reads
    // Light and proximity in one chip.
    Add(4, "stk3310", {{"in_illuminance_raw", "5"}, {"in_proximity_raw", "5"}});
    testbed_.AddDevice("iio", "trigger0", {{"name", "sysfstrig0"}});

    std::vector<int32_t> types;
    std::vector<std::string> names;
    for (const IioDevice& device : Scan()) {
        types.push_back(device.SensorTypeId());
        names.push_back(device.Name());
    }
    EXPECT_THAT(types, ElementsAre(SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_AMBIENT_LIGHT,
                                   SENSOR_TYPE_ID_PROXIMITY, SENSOR_TYPE_ID_AMBIENT_LIGHT));
    EXPECT_THAT(names, ElementsAre("iio:device2 (accel)", "iio:device4 (stk3310)",
                                   "iio:device4 (stk3310)", "iio:device10 (als)"));
    EXPECT_THAT(problems_, IsEmpty());
}

// Each sensor alone in the tree, read once.
TEST_F(IioDeviceTest, ReadingsAreInTheLibrarysUnitsAndAxes)
{
    const float kNear = IioDevice::kProximityNear;
    const float kFar = IioDevice::kProximityFar;
    const struct {
        const char* what;
        int32_t type;
        Tarvo::Test::UmockdevTestbed::Attributes attributes;
        std::vector<float> expected;
    } cases[] = {
        // Mounted turned a quarter: the chip's y is the phone's x, its -x the phone's y.
        {"scaled, offset, turned",
         SENSOR_TYPE_ID_ACCELEROMETER,
         {{"in_accel_x_raw", "100"},
          {"in_accel_y_raw", "-200"},
          {"in_accel_z_raw", "1000"},
          {"in_accel_scale", "0.0098"},
          {"in_accel_z_offset", "10"},
          {"in_accel_mount_matrix", "0, 1, 0; -1, 0, 0; 0, 0, 1"}},
         {-1.96f, -0.98f, 9.898f}},
        {"per-axis scale wins, no scale is raw",
         SENSOR_TYPE_ID_ACCELEROMETER,
         {{"in_accel_x_raw", "100"},
          {"in_accel_y_raw", "3"},
          {"in_accel_z_raw", "-4"},
          {"in_accel_x_scale", "0.01"},
          {"mount_matrix", "1, 0, 0; 0, 1, 0; 0, 0, 1\n"}},
         {1.0f, 3.0f, -4.0f}},
        {"lux", SENSOR_TYPE_ID_AMBIENT_LIGHT, {{"in_illuminance_input", "123.5"}}, {123.5f}},
        {"raw times scale",
         SENSOR_TYPE_ID_AMBIENT_LIGHT,
         {{"in_illuminance_raw", "200"}, {"in_illuminance_scale", "0.5"}},
         {100.0f}},
        // Near from the near level up; without one any reflection at all is near.
        {"far",
         SENSOR_TYPE_ID_PROXIMITY,
         {{"in_proximity_raw", "99"}, {"in_proximity_nearlevel", "100"}},
         {kFar}},
        {"near",
         SENSOR_TYPE_ID_PROXIMITY,
         {{"in_proximity_raw", "100"}, {"in_proximity_nearlevel", "100"}},
         {kNear}},
        {"no level", SENSOR_TYPE_ID_PROXIMITY, {{"in_proximity_raw", "1"}}, {kNear}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string device = Add(0, "chip", c.attributes);
        const std::vector<float> values = ReadOnly(c.type);
        ASSERT_EQ(values.size(), c.expected.size());
        for (size_t i = 0; i < values.size(); ++i) {
            EXPECT_NEAR(values[i], c.expected[i], 1e-4) << "value " << i;
        }
        testbed_.Remove(device);
    }
}

TEST_F(IioDeviceTest, ABadDeviceIsNamedAndSkippedWhileTheOthersStay)
{
    testbed_.SetAttribute(testbed_.AddAccelerometer(0, 0, 0, 1), "in_accel_mount_matrix",
                          "1, 0; 0, 1");
    Add(1, "garbled", {{"in_illuminance_raw", "5"}, {"in_illuminance_scale", "lots"}});
    Add(2, "fine", {{"in_proximity_raw", "0"}});

    const std::vector<IioDevice> devices = Scan();
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ(devices[0].SensorTypeId(), SENSOR_TYPE_ID_PROXIMITY);
    ASSERT_THAT(problems_, SizeIs(2));
    EXPECT_THAT(problems_[0], HasSubstr("in_accel_mount_matrix is not a 3x3 matrix"));
    EXPECT_THAT(problems_[1], HasSubstr("in_illuminance_scale holds no number: 'lots'"));
}

TEST_F(IioDeviceTest, AGarbledOrVanishedChannelIsAReadErrorNamingTheFile)
{
    const std::string accel = testbed_.AddAccelerometer(0, 1, 2, 3);
    const std::vector<IioDevice> devices = Scan();
    ASSERT_THAT(devices, SizeIs(1));
    std::vector<float> values;
    std::string error;

    testbed_.SetAttribute(accel, "in_accel_y_raw", "12abc");
    EXPECT_FALSE(devices[0].Read(values, error));
    EXPECT_THAT(error, HasSubstr("in_accel_y_raw holds no number: '12abc'"));

    testbed_.Remove(accel);
    EXPECT_FALSE(devices[0].Read(values, error));
    EXPECT_THAT(error, HasSubstr("in_accel_x_raw"));
}

// What a hostile tree may hold in place of an attribute: each is refused at once with
// the file named, and the device it belongs to is skipped; nothing blocks (a FIFO) or
// reads without end (a device node).
TEST_F(IioDeviceTest, HostileAttributesAreRefusedAtOnce)
{
    namespace fs = std::filesystem;
    // An accelerometer without a scale yet: the test puts something else in its place.
    const auto accel = [this](int n) {
        return OnDisk(
            Add(n, "accel" + std::to_string(n),
                {{"in_accel_x_raw", "0"}, {"in_accel_y_raw", "0"}, {"in_accel_z_raw", "1"}}),
            "in_accel_scale");
    };
    ASSERT_EQ(mkfifo(accel(0).c_str(), 0644), 0);
    fs::create_symlink("/dev/zero", accel(1));
    const std::string loop = accel(2);
    fs::create_symlink(loop + "-loop", loop);
    fs::create_symlink(loop, loop + "-loop");
    fs::create_directory(accel(3));
    std::ofstream(accel(4)) << std::string(100000, '7');
    int n = 5;
    for (const char* garbage : {"nan", "inf", "1e999", "0x"}) {
        Add(n, garbage, {{"in_proximity_raw", "0"}, {"in_proximity_nearlevel", garbage}});
        ++n;
    }
    Add(20, "fine", {{"in_illuminance_input", "12"}});

    const std::vector<IioDevice> devices = Scan();
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ(devices[0].SensorTypeId(), SENSOR_TYPE_ID_AMBIENT_LIGHT);
    ASSERT_THAT(problems_, SizeIs(9));
    EXPECT_THAT(problems_[0], HasSubstr("device0/in_accel_scale: not a regular file"));
    EXPECT_THAT(problems_[1], HasSubstr("device1/in_accel_scale: not a regular file"));
    EXPECT_THAT(problems_[2], HasSubstr("device2/in_accel_scale: Too many levels of symbolic"));
    EXPECT_THAT(problems_[3], HasSubstr("device3/in_accel_scale: not a regular file"));
    EXPECT_THAT(problems_[4], HasSubstr("device4/in_accel_scale: longer than 4096 bytes"));
    for (size_t i = 5; i < 9; ++i) {
        EXPECT_THAT(problems_[i], HasSubstr("in_proximity_nearlevel holds no number"));
    }
}

// As root, permission bits do not stop a read: there is nothing to check then.
TEST_F(IioDeviceTest, AnUnreadableAttributeIsNamedWithItsReason)
{
    if (geteuid() == 0) {
        GTEST_SKIP() << "running as root, which reads any file";
    }
    const std::string locked = Add(0, "locked", {{"in_illuminance_input", "12"}});
    std::filesystem::permissions(OnDisk(locked, "in_illuminance_input"),
                                 std::filesystem::perms::none);
    const std::vector<IioDevice> devices = Scan();
    ASSERT_THAT(devices, SizeIs(1));
    std::vector<float> values;
    std::string error;
    EXPECT_FALSE(devices[0].Read(values, error));
    EXPECT_THAT(error, HasSubstr("in_illuminance_input: Permission denied"));
}

// A copy of a device's sysfs (the testbed's own directory, read as plain files) is
// scanned without udev, in device order.
TEST_F(IioDeviceTest, ACopyOfSysfsIsScannedWithoutUdev)
{
    Add(7, "als", {{"in_illuminance_input", "3"}});
    testbed_.AddAccelerometer(1, 0, 0, 1);
    const std::string copy = OnDisk("/sys", "");

    std::vector<std::string> problems;
    std::vector<std::string> names;
    for (const IioDevice& device : IioDevice::Scan(copy, problems)) {
        names.push_back(device.Name());
        EXPECT_EQ(device.Directory().rfind(copy, 0), 0u) << device.Directory();
    }
    EXPECT_THAT(names, ElementsAre("iio:device1 (accel)", "iio:device7 (als)"));
    EXPECT_THAT(problems, IsEmpty());
    EXPECT_THAT(IioDevice::Scan(copy + "/nowhere", problems), IsEmpty());
    EXPECT_THAT(problems, IsEmpty()) << "no devices is no problem";
}

}  // namespace
}  // namespace Tarvo::Linux
