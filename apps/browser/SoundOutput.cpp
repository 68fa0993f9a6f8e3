#include "korvane/apps/browser/SoundOutput.h"

#define SDL_MAIN_HANDLED
#include <SDL.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <span>
#include <utility>

namespace korvane {

namespace {
constexpr Uint16 framesAtATime = 1024;
// From the call for samples until they are heard: two of the device's buffers.
constexpr double latency = 2.0 * 1000 * framesAtATime / SoundQueue::rate;

// The library starts and ends on one thread at a time.
std::mutex libraryMutex;

}  // namespace

struct SoundOutput::State {
    explicit State(Scheduler& s) : scheduler(s) {}
    ~State();
    bool open();
    void close();
    void fill(std::span<std::int16_t> samples);

    Scheduler& scheduler;
    std::atomic<SDL_AudioDeviceID> device = 0;
    std::atomic<bool> isLooking = true;
    std::atomic<bool> isMuted = false;
    bool isStarted = false;  // the library
    std::mutex mutex;
    std::shared_ptr<SoundQueue> sound;
    std::chrono::microseconds zero{0};
};

SoundOutput::State::~State() {
    const std::lock_guard lock(libraryMutex);
    close();
}

void SoundOutput::State::close() {
    if (device != 0) SDL_CloseAudioDevice(device);
    if (std::exchange(isStarted, false)) SDL_QuitSubSystem(SDL_INIT_AUDIO);
}

bool SoundOutput::State::open() {
    const std::lock_guard lock(libraryMutex);
    // The library would take the signals that end a program for itself.
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetMainReady();
    isStarted = SDL_InitSubSystem(SDL_INIT_AUDIO) == 0;
    // Without a device an attempt to open one leaves lines of the system's sound library on standard error.
    if (!isStarted) return false;
    if (SDL_GetNumAudioDevices(0) == 0) {
        close();
        return false;
    }
    SDL_AudioSpec wanted{};
    wanted.freq = SoundQueue::rate;
    wanted.format = AUDIO_S16SYS;
    wanted.channels = static_cast<Uint8>(SoundQueue::channels);
    wanted.samples = framesAtATime;
    wanted.userdata = this;
    wanted.callback = [](void* self, Uint8* bytes, int count) {
        const auto samples = static_cast<std::size_t>(count) / sizeof(std::int16_t);
        static_cast<State*>(self)->fill({reinterpret_cast<std::int16_t*>(bytes), samples});
    };
    device = SDL_OpenAudioDevice(nullptr, 0, &wanted, nullptr, 0);
    return device != 0;
}

void SoundOutput::State::fill(std::span<std::int16_t> samples) {
    const std::lock_guard lock(mutex);
    const auto since = std::chrono::duration<double, std::milli>(scheduler.monotonicNow() - zero);
    if (sound) sound->take(since.count() + latency, samples);
    if (!sound || isMuted) std::ranges::fill(samples, std::int16_t{0});
}

SoundOutput::SoundOutput(Scheduler& scheduler, std::function<void()> found)
    : state_(std::make_shared<State>(scheduler)) {
    scheduler.runInBackground([state = state_, found = std::move(found)] {
        const bool isFound = state->open();
        state->isLooking = false;
        if (isFound) state->scheduler.post(found);
    });
}

SoundOutput::~SoundOutput() {
    stop();
    // The system may take its time to give a device back.
    Scheduler& scheduler = state_->scheduler;
    scheduler.runInBackground([state = std::move(state_)] {});
}

bool SoundOutput::hasDevice() const {
    return state_->device != 0;
}

bool SoundOutput::isLooking() const {
    return state_->isLooking;
}

void SoundOutput::play(std::shared_ptr<SoundQueue> sound, std::chrono::microseconds zero) {
    const bool isPlaying = sound != nullptr;
    {
        const std::lock_guard lock(state_->mutex);
        state_->sound = std::move(sound);
        state_->zero = zero;
    }
    if (const SDL_AudioDeviceID device = state_->device) SDL_PauseAudioDevice(device, isPlaying ? 0 : 1);
}

bool SoundOutput::isMuted() const {
    return state_->isMuted;
}

void SoundOutput::setMuted(bool muted) {
    state_->isMuted = muted;
}

}  // namespace korvane
