// Reading IIO sensors from sysfs: finding them, and turning their attributes into the
// units and axes the library expects.
#include "iio_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "fake_iio_tree.h"
#include "sensor_service_client.h"

namespace Tarvo::Linux {
namespace {

using ::testing::ElementsAre;
using ::testing::FloatNear;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class IioDeviceTest : public ::testing::Test {
protected:
    std::vector<IioDevice> Scan()
    {
        problems_.clear();
        return IioDevice::Scan(tree_.Root(), problems_);
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

    Tarvo::Test::FakeIioTree tree_;
    std::vector<std::string> problems_;
};

TEST_F(IioDeviceTest, FindsEverySensorInDeviceOrder)
{
    tree_.AddDevice(10, "als");
    tree_.Write(10, "in_illuminance_input", "40");
    tree_.AddDevice(2, "accel");
    tree_.Accel(2, 0, 0, 1);
    tree_.AddDevice(3, "gyro");  // nothing the library reads
    tree_.Write(3, "in_anglvel_x_raw", "1");
    tree_.AddDevice(4, "stk3310");  // light and proximity in one chip
    tree_.Write(4, "in_illuminance_raw", "5");
    tree_.Write(4, "in_proximity_raw", "5");
    std::filesystem::create_directories(tree_.Devices() + "/trigger0");

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

TEST_F(IioDeviceTest, AccelerationIsScaledOffsetAndTurnedIntoThePhoneAxes)
{
    tree_.AddDevice(0, "bmi160");
    tree_.Accel(0, 100, -200, 1000);
    tree_.Write(0, "in_accel_scale", "0.0098");
    tree_.Write(0, "in_accel_z_offset", "10");
    // The chip is mounted turned a quarter: its y is the phone's x, its -x the phone's y.
    tree_.Write(0, "in_accel_mount_matrix", "0, 1, 0; -1, 0, 0; 0, 0, 1");

    EXPECT_THAT(
        ReadOnly(SENSOR_TYPE_ID_ACCELEROMETER),
        ElementsAre(FloatNear(-1.96f, 1e-4), FloatNear(-0.98f, 1e-4), FloatNear(9.898f, 1e-4)));
}

TEST_F(IioDeviceTest, PerAxisScaleWinsOverTheSharedOneAndNoScaleMeansRaw)
{
    tree_.AddDevice(0, "accel");
    tree_.Accel(0, 100, 3, -4);
    tree_.Write(0, "in_accel_x_scale", "0.01");
    tree_.Write(0, "mount_matrix", "1, 0, 0; 0, 1, 0; 0, 0, 1\n");

    EXPECT_THAT(ReadOnly(SENSOR_TYPE_ID_ACCELEROMETER),
                ElementsAre(FloatNear(1.0f, 1e-6), 3.0f, -4.0f));
}

TEST_F(IioDeviceTest, LightIsTakenInLuxOrAsRawTimesScale)
{
    tree_.AddDevice(0, "lux");
    tree_.Write(0, "in_illuminance_input", "123.5");
    EXPECT_THAT(ReadOnly(SENSOR_TYPE_ID_AMBIENT_LIGHT), ElementsAre(123.5f));

    tree_.Remove(0);
    tree_.AddDevice(0, "raw");
    tree_.Write(0, "in_illuminance_raw", "200");
    tree_.Write(0, "in_illuminance_scale", "0.5");
    EXPECT_THAT(ReadOnly(SENSOR_TYPE_ID_AMBIENT_LIGHT), ElementsAre(100.0f));
}

TEST_F(IioDeviceTest, ProximityIsNearFromTheNearLevelUp)
{
    tree_.AddDevice(0, "prox");
    tree_.Write(0, "in_proximity_nearlevel", "100");
    const std::pair<const char*, float> cases[] = {
        {"20", IioDevice::kProximityFar},
        {"99", IioDevice::kProximityFar},
        {"100", IioDevice::kProximityNear},
        {"1500", IioDevice::kProximityNear},
    };
    for (const auto& [raw, expected] : cases) {
        tree_.Write(0, "in_proximity_raw", raw);
        EXPECT_THAT(ReadOnly(SENSOR_TYPE_ID_PROXIMITY), ElementsAre(expected)) << "raw " << raw;
    }
    // Without a near level any reflection at all is near.
    tree_.Remove(0);
    tree_.AddDevice(0, "plain");
    tree_.Write(0, "in_proximity_raw", "1");
    EXPECT_THAT(ReadOnly(SENSOR_TYPE_ID_PROXIMITY), ElementsAre(IioDevice::kProximityNear));
}

TEST_F(IioDeviceTest, ABadDeviceIsNamedAndSkippedWhileTheOthersStay)
{
    tree_.AddDevice(0, "tilted");
    tree_.Accel(0, 0, 0, 1);
    tree_.Write(0, "in_accel_mount_matrix", "1, 0; 0, 1");
    tree_.AddDevice(1, "garbled");
    tree_.Write(1, "in_illuminance_raw", "5");
    tree_.Write(1, "in_illuminance_scale", "lots");
    tree_.AddDevice(2, "fine");
    tree_.Write(2, "in_proximity_raw", "0");

    const std::vector<IioDevice> devices = Scan();
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ(devices[0].SensorTypeId(), SENSOR_TYPE_ID_PROXIMITY);
    ASSERT_THAT(problems_, SizeIs(2));
    EXPECT_THAT(problems_[0], HasSubstr("in_accel_mount_matrix is not a 3x3 matrix"));
    EXPECT_THAT(problems_[1], HasSubstr("in_illuminance_scale holds no number: 'lots'"));
}

TEST_F(IioDeviceTest, AGarbledOrVanishedChannelIsAReadErrorNamingTheFile)
{
    tree_.AddDevice(0, "accel");
    tree_.Accel(0, 1, 2, 3);
    const std::vector<IioDevice> devices = Scan();
    ASSERT_THAT(devices, SizeIs(1));
    std::vector<float> values;
    std::string error;

    tree_.Write(0, "in_accel_y_raw", "12abc");
    EXPECT_FALSE(devices[0].Read(values, error));
    EXPECT_THAT(error, HasSubstr("in_accel_y_raw holds no number: '12abc'"));

    tree_.Remove(0);
    EXPECT_FALSE(devices[0].Read(values, error));
    EXPECT_THAT(error, HasSubstr("in_accel_x_raw"));
}

// What a hostile tree may hold in place of an attribute: each is refused at once with
// the file named, and the device it belongs to is skipped; nothing blocks (a FIFO) or
// reads without end (a device node).
TEST_F(IioDeviceTest, HostileAttributesAreRefusedAtOnce)
{
    namespace fs = std::filesystem;
    const auto accel = [this](int n) {
        tree_.AddDevice(n, "accel" + std::to_string(n));
        tree_.Accel(n, 0, 0, 1);
        return tree_.Attribute(n, "in_accel_scale");
    };
    ASSERT_EQ(mkfifo(accel(0).c_str(), 0644), 0);
    fs::create_symlink("/dev/zero", accel(1));
    fs::create_symlink(tree_.Attribute(2, "loop"), accel(2));
    fs::create_symlink(tree_.Attribute(2, "in_accel_scale"), tree_.Attribute(2, "loop"));
    fs::create_directory(accel(3));
    accel(4);
    tree_.Write(4, "in_accel_scale", std::string(100000, '7'));
    int n = 5;
    for (const char* garbage : {"nan", "inf", "1e999", "0x"}) {
        tree_.AddDevice(n, garbage);
        tree_.Write(n, "in_proximity_raw", "0");
        tree_.Write(n, "in_proximity_nearlevel", garbage);
        ++n;
    }
    tree_.AddDevice(20, "fine");
    tree_.Write(20, "in_illuminance_input", "12");

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
    tree_.AddDevice(0, "locked");
    tree_.Write(0, "in_illuminance_input", "12");
    std::filesystem::permissions(tree_.Attribute(0, "in_illuminance_input"),
                                 std::filesystem::perms::none);
    const std::vector<IioDevice> devices = Scan();
    ASSERT_THAT(devices, SizeIs(1));
    std::vector<float> values;
    std::string error;
    EXPECT_FALSE(devices[0].Read(values, error));
    EXPECT_THAT(error, HasSubstr("in_illuminance_input: Permission denied"));
}

}  // namespace
}  // namespace Tarvo::Linux
