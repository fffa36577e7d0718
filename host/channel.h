// Messages between the components of a router, and from an active component to its backup.
#pragma once

#include "host/cross.h"
#include "host/family.h"
#include "host/message_buffer.h"
#include "host/route.h"
#include "host/update.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace qel::host {

// The three kinds of messages of a family; each has type codes of its own.
enum class Carrier : std::uint8_t { message, ha, attribute };

enum class Change : std::uint8_t {
    announce,
    withdraw,
    refresh, // the receiver has lost what it knew
};

// A component as its messages name it. `family` is the library's instance behind it, null for a component that is not
// made of the library.
struct Port {
    std::string_view name;
    const Family *family = nullptr;
};

// What became of one message.
struct Delivery {
    std::string_view from;
    std::string_view to;
    Carrier carrier = Carrier::message;
    std::uint32_t type = 0;
    Octets octets;                           // empty: it could not be written
    std::uint32_t code = 0;                  // not 0: what the writer or the reader answered when it failed
    const QEL_ROUTE_BLOCK_S *read = nullptr; // what the receiver made of it; null outside of the library
    const Family *family = nullptr;          // the one that read it, or else wrote it
};

// Sees every message. A delivery holds for the duration of the call; its octets can be read past their end as those of
// a MessageBuffer.
class DeliverySink {
public:
    virtual ~DeliverySink() = default;
    virtual void delivered(const Delivery &delivery) = 0;
};

// Carries messages, one at a time, and shows them to a sink.
class Courier {
public:
    // The sink has to outlive the courier.
    explicit Courier(DeliverySink &sink) : sink_(&sink) {}

    void show(const Delivery &delivery) { sink_->delivered(delivery); }
    MessageWriter &writer() { return writer_; }

private:
    DeliverySink *sink_;
    MessageWriter writer_;
};

// Type codes by what happens to the route. The second and third are 0 where there is only one.
struct RouteTypes {
    std::uint32_t announce = 0;
    std::uint32_t withdraw = 0;
    std::uint32_t refresh = 0;
    std::uint32_t global = 0; // an announced route of the global table, whose RD is zero

    std::uint32_t of(Change change, const QEL_ROUTE_INFO_S &route) const;
};

// Type codes of an import target by its length: the short ones, those of 20 octets, and the private ones, which are
// longer. 0: not sent.
struct TargetTypes {
    struct Codes {
        std::uint32_t announce = 0;
        std::uint32_t withdraw = 0;
    };
    Codes brief;
    Codes ipv6;
    Codes longer;

    std::uint32_t of(Change change, Octets value) const;
};

// Some attribute messages have two type codes: the first is sent away from the multicast VPN core and to backups, the
// second back to the core.
enum class Half : std::uint8_t { first, second };

// How routes go from one component to another.
struct Protocol {
    Carrier carrier = Carrier::message;
    RouteTypes route;
    Half half = Half::first;
    TargetTypes targets;
};

// From one component to another: made where it is needed. Types that one of the two families does not list are not
// sent.
class Channel {
public:
    // All three have to outlive the channel.
    Channel(const Port &from, const Port &to, Courier &courier) : from_(&from), to_(&to), courier_(&courier) {}

    // What the receiver reads from the message of this type that the sender writes of the route. Null if the sender
    // writes nothing, and where one of them fails.
    BlockPtr send(Carrier carrier, std::uint32_t type, const QEL_ROUTE_INFO_S &route) const;
    // The two halves of it, for a component that is not made of the library.
    MessageBuffer write(Carrier carrier, std::uint32_t type, const QEL_ROUTE_INFO_S &route) const;
    BlockPtr read(Carrier carrier, std::uint32_t type, Octets octets) const;

    // A route with what belongs to it, as the receiver then has it; without a key if it did not arrive.
    Route send_route(const Protocol &protocol, const QEL_ROUTE_INFO_S &route, Change change) const;
    // Calls `send(type)` for each attribute message that the route has something for.
    template <class Send> void for_each_attribute(Half half, const QEL_ROUTE_INFO_S &route, Send send) const
    {
        const QEL_FAMILY_DESC_S &desc = from_->family->desc();
        for (std::size_t i = 0; i < desc.ucAttrMsgTlvCount; ++i) {
            if (has_attribute(route, desc.auiAttrMsgTlvTypes[i], half)) {
                send(desc.auiAttrMsgTlvTypes[i]);
            }
        }
    }
    // The cross values of the route as import targets: calls `send(type, route)` with a route of each value.
    template <class Send>
    void for_each_target(const Protocol &protocol, const QEL_ROUTE_INFO_S &route, Change change, Send send) const
    {
        CrossWalk walk(*from_->family, route);
        while (const std::optional<Cross> cross = walk.next()) {
            if (const std::uint32_t type = protocol.targets.of(change, cross->octets()); type != 0) {
                QEL_ROUTE_INFO_S target{};
                target.uiValidMask = QEL_SECTION_CROSS;
                target.pucCross = cross->octets().data();
                target.uiCrossLen = static_cast<std::uint32_t>(cross->octets().size());
                send(type, target);
            }
        }
        if (walk.code() != QEL_OK) {
            show(protocol.carrier, protocol.targets.brief.announce, {}, walk.code(), nullptr);
        }
    }
    void send_targets(const Protocol &protocol, const QEL_ROUTE_INFO_S &route, Change change) const;

    // Tells the sink.
    void show(Carrier carrier, std::uint32_t type, Octets octets, std::uint32_t code,
              const QEL_ROUTE_BLOCK_S *read) const;

private:
    static bool has_attribute(const QEL_ROUTE_INFO_S &route, std::uint32_t type, Half half);
    BlockPtr read(Carrier carrier, std::uint32_t type, const MessageBuffer &message) const;

    const Port *from_;
    const Port *to_;
    Courier *courier_;
};

// Keeps a backup up to date with its active component.
class Mirror {
public:
    Mirror(const Port &active, const Port &backup, Courier &courier) : channel_(active, backup, courier) {}

    // The route as the backup has it then; without a key if it did not arrive.
    Route tell(const QEL_ROUTE_INFO_S &route, Change change) const;

private:
    Channel channel_;
};

inline bool has_key(const Route &route)
{
    return route.info().pucKey != nullptr;
}

} // namespace qel::host
