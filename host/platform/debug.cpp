// Reported checks and debug output, kept for the thread that asks for them.
#include "host/platform/platform.h"
#include "platform/ksx.h"
#include "platform/zvk.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace qel::platform {
namespace {

constinit std::atomic<std::uint64_t> g_assert_count{0};
constinit thread_local Recorder *t_recorder = nullptr;

std::string text_or_empty(const char *text)
{
    return text != nullptr ? text : "";
}

__attribute__((format(printf, 1, 0))) std::string formatted(const char *format, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0) {
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

} // namespace

std::uint64_t assert_count()
{
    return g_assert_count.load(std::memory_order_relaxed);
}

Recorder::Recorder() : outer_(t_recorder)
{
    t_recorder = this;
}

Recorder::~Recorder()
{
    t_recorder = outer_;
}

void Recorder::clear()
{
    asserts_.clear();
    debugs_.clear();
}

} // namespace qel::platform

void ZVK_Assert(const char *pszFile, uint32_t uiLine, uint64_t ullValue)
{
    using namespace qel::platform;
    g_assert_count.fetch_add(1, std::memory_order_relaxed);
    if (t_recorder != nullptr) {
        t_recorder->add(AssertRecord{.file = text_or_empty(pszFile), .line = uiLine, .value = ullValue});
    }
}

void KSX_Debug(uint32_t uiModule, uint32_t uiHandle, const char *pszName, uint32_t uiCode, const char *pszFormat, ...)
{
    using namespace qel::platform;
    if (t_recorder == nullptr || pszFormat == nullptr) {
        return;
    }
    va_list args;
    va_start(args, pszFormat);
    std::string text = formatted(pszFormat, args);
    va_end(args);
    t_recorder->add(DebugRecord{.module = uiModule,
                                .handle = uiHandle,
                                .name = text_or_empty(pszName),
                                .code = uiCode,
                                .text = std::move(text)});
}
