#include "CaptureRecords.h"

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>
#include <support/Interpose.h>

#include <mutex>
#include <utility>
#include <vector>

namespace corvane::test {
namespace {

struct Store {
    std::mutex mutex;
    std::vector<AVFoundationCaptureImpl *> records;
};

Store &store()
{
    static Store instance;
    return instance;
}

} // namespace

CaptureRecords::~CaptureRecords()
{
    std::unique_lock lock(store().mutex);
    const auto records = std::exchange(store().records, {});
    lock.unlock();
    for (AVFoundationCaptureImpl *record : records)
        freeAVFoundationCapture(record);
}

int CaptureRecords::count()
{
    const std::lock_guard lock(store().mutex);
    return static_cast<int>(store().records.size());
}

} // namespace corvane::test

AVFoundationCaptureImpl *allocAVFoundationCapture(uint32_t displayId)
{
    using namespace corvane::test;
    using Make = AVFoundationCaptureImpl *(uint32_t);
    auto *record = nextFunction<Make>("_Z24allocAVFoundationCapturej")(displayId);
    const std::lock_guard lock(store().mutex);
    if (record)
        store().records.push_back(record);
    return record;
}
