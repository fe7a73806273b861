// The library's one link to the platform sensor service: subscribes sensors, queues
// every sample the service delivers, and hands each one, on its own worker thread, to
// every bound recogniser. A process-wide singleton that lives from load to exit.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "sensor_service_client.h"
#include "singleton.h"

namespace Tarvo::Quil {

class SensorConnection {
public:
    static SensorConnection& GetInstance() { return Singleton<SensorConnection>::GetInstance(); }

    ~SensorConnection();
    SensorConnection(const SensorConnection&) = delete;
    SensorConnection& operator=(const SensorConnection&) = delete;

    bool RegisterSensor(int type, int sensorTypeId);
    bool UnregisterSensor(int type, int sensorTypeId);
    bool IsSupportedSensor(int sensorTypeId);
    // Binds `callback` under motion type `type`, replacing an earlier binding.
    void RegisterEvent(int type, std::function<int(int, void*)> callback);
    void UnregisterEvent(int type);

    // Called by the sensor service on its delivery thread.
    static void SensorDataCallbackImpl(SensorEvent* event);
    void PushData(SensorEvent event);
    std::optional<SensorEvent> GetSensorEvent();
    bool PopData();
    void NotifyCallback(int sensorTypeId, void* data);

private:
    friend class Singleton<SensorConnection>;
    SensorConnection();

    void AlgorithmLoop();
    void HandleSensorEvent();

    SensorUser sensorUser_{};
    std::map<int, std::function<int(int, void*)>> callbacks_;
    std::list<SensorEvent> events_;
    std::unique_ptr<std::thread> thread_;
    sem_t sem_{};
    std::mutex callbackMutex_;
    std::mutex eventMutex_;
    std::atomic<bool> running_{false};
};

}  // namespace Tarvo::Quil
