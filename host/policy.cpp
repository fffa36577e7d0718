#include "host/policy.h"

namespace qel::host {
namespace {

// The codes are those of every family.
constexpr std::uint32_t kReplace = 6;
constexpr std::uint32_t kAdd = 7;
constexpr std::uint32_t kDelete = 87;
// NG-MVPN alone.
constexpr std::uint32_t kReplaceTunnel = 61;

std::uint32_t code_of(PolicyAction::Kind kind)
{
    switch (kind) {
    case PolicyAction::Kind::add:
        return kAdd;
    case PolicyAction::Kind::replace:
        return kReplace;
    case PolicyAction::Kind::replace_tunnel:
        return kReplaceTunnel;
    default:
        return kDelete;
    }
}

} // namespace

PolicyAction::PolicyAction(Kind kind, std::span<const std::uint8_t> value)
    : kind_(kind), value_(std::make_shared<const MessageBuffer>(value))
{
}

std::uint32_t PolicyAction::code() const
{
    return code_of(kind_);
}

PolicyAction::Result PolicyAction::apply(const Family &family, const QEL_ROUTE_INFO_S &route) const
{
    QEL_ROUTE_BLOCK_S *block = nullptr;
    Result result;
    result.code = family.desc().pfApplyAction(&route, code(), value_->data(), value_->size(), &block, family.ctx());
    if (result.code == QEL_OK) {
        result.block.reset(block);
    }
    return result;
}

} // namespace qel::host
