// A context whose inline buffer is lent out, so that scratch comes from the heap.
#pragma once

#include "support.h"

#include <optional>
#include <utility>

namespace qel::test {

// Keeps the inline buffer lent out as long as it lives; kMalloc and kFree are the family's.
template <auto kMalloc, auto kFree> class LentBufferOf {
public:
    explicit LentBufferOf(QEL_FAMILY_CTX_S *ctx) : ctx_(ctx), mem_(kMalloc(ctx, 1))
    {
        EXPECT_EQ(mem_, ctx->aucInlineBuf);
    }
    ~LentBufferOf()
    {
        EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
        kFree(&mem_, ctx_);
    }
    LentBufferOf(const LentBufferOf &) = delete;
    LentBufferOf &operator=(const LentBufferOf &) = delete;

private:
    QEL_FAMILY_CTX_S *ctx_;
    void *mem_;
};

template <class LentBuffer> std::optional<LentBuffer> lent_buffer_if(bool lent, QEL_FAMILY_CTX_S *ctx)
{
    return lent ? std::optional<LentBuffer>(std::in_place, ctx) : std::optional<LentBuffer>();
}

} // namespace qel::test
