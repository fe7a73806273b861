// Client interface of the platform sensor service.
//
// The motion library sees the sensor service only through these declarations. A device
// build links the platform's own client library; other builds link a platform layer
// that serves them: the stand-in in platform/host, or platform/linux on a Linux device
// (the forwarding is platform/common's). Record layouts are the client's: only the
// fields named here exist.
#pragma once

#include <cstdint>

extern "C" {

// Sensor type ids of the sensor service.
enum SensorTypeId : int32_t {
    SENSOR_TYPE_ID_ACCELEROMETER = 1,
    SENSOR_TYPE_ID_AMBIENT_LIGHT = 5,
    SENSOR_TYPE_ID_PROXIMITY = 12,
};

constexpr int32_t SENSOR_NAME_MAX_LEN = 32;

// One entry of the device's sensor list.
struct SensorInfo {
    char sensorName[SENSOR_NAME_MAX_LEN];
    int32_t sensorTypeId;
};

// One sample. The data block belongs to the service and stays readable after the
// callback returns; it holds at least four 32-bit floats.
struct SensorEvent {
    int32_t sensorTypeId;
    int64_t timestamp;  // ns
    uint8_t* data;
    uint32_t dataLen;  // bytes
};

// Sample layouts of the three sensors the library reads.
struct AccelData {
    float x;  // m/s²
    float y;
    float z;
};

struct ProximityData {
    float distance;  // 0 means an object covers the sensor
};

struct AmbientLightData {
    float intensity;  // lux
};

using RecordSensorCallback = void (*)(SensorEvent* event);

// A subscriber: the service tells subscribers apart by the record's address.
struct SensorUser {
    char name[SENSOR_NAME_MAX_LEN];
    RecordSensorCallback callback;
    void* userData;
};

// All return 0 on success and a non-zero error code otherwise.
int32_t GetAllSensors(SensorInfo** sensorInfo, int32_t* count);
int32_t SubscribeSensor(int32_t sensorTypeId, const SensorUser* user);
int32_t SetBatch(int32_t sensorTypeId, const SensorUser* user, int64_t samplingInterval,
                 int64_t reportInterval);
int32_t ActivateSensor(int32_t sensorTypeId, const SensorUser* user);
int32_t DeactivateSensor(int32_t sensorTypeId, const SensorUser* user);
int32_t UnsubscribeSensor(int32_t sensorTypeId, const SensorUser* user);

}  // extern "C"
