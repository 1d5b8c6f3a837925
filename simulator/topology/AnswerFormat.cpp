// The format of one entry of a topology's answers, as a recording has them.
#include <algorithm>

#include "simulator/topology/Format.h"
#include "simulator/topology/Functions.h"

namespace sim {
namespace {

constexpr std::size_t MAX_REPLIES = 65536;
// A list of all LUNs that an adapter can have is longer than any response.
constexpr std::size_t MAX_DATA = std::size_t{32} << 20;

void DescribeArguments(Keys& keys, Arguments& arguments) {
    Wwn target{};
    if (keys.WorldWideName({.name = "target",
                            .about = "Only for SCSI commands to this port",
                            .byDefault = "for commands to any target"},
                           target))
        arguments.target = target;
    keys.Number({.name = "lun", .about = "Only for this FCP LUN", .byDefault = "for any"}, arguments.lun);
    keys.Number({.name = "evpd", .about = "Only for INQUIRY with this EVPD", .byDefault = "for any"}, arguments.evpd);
    keys.Number({.name = "page", .about = "Only for this page", .byDefault = "for any"}, arguments.page);
    keys.Number({.name = "room", .about = "Only for lists with room for so many entries", .byDefault = "for any"},
                arguments.room);
}

void DescribeReply(Keys& keys, Reply& reply) {
    keys.Number({.name = "status", .about = "Returned", .byDefault = "0, or what the topology yields"}, reply.status);
    keys.Number({.name = "count", .about = "Written back as the list's count", .byDefault = "nothing is"}, reply.count);
    keys.Number({.name = "controller", .about = "The controller number", .byDefault = "none is written"},
                reply.controller);
    keys.Number({.name = "size", .about = "Written back as the response's size", .byDefault = "nothing is"},
                reply.size);
    keys.Number({.name = "sense_size", .about = "Written back as the sense data's size", .byDefault = "nothing is"},
                reply.senseSize);
    keys.Number({.name = "scsi_status", .about = "The SCSI status", .byDefault = "none is written"}, reply.scsiStatus);
    keys.Response(
        {.name = "data",
         .about = "Bytes of the record, the list's entries or the response: \"hex:\" and their digits, or a file",
         .byDefault = "none are written"},
        reply.data, MAX_DATA);
    keys.Response({.name = "sense",
                   .about = "Bytes of the sense data: \"hex:\" and their digits, or a file",
                   .byDefault = "none are written"},
                  reply.sense);
    keys.Flag({"throw", "The call throws a std::runtime_error"}, reply.throws);
}

} // namespace

void Describe(Keys& keys, Answer& answer, const Topology& topology) {
    keys.Rule(R"({"properties": {"function": {"$ref": "#/$defs/recorded"}}})");
    if (keys.FunctionName({"function", "Name of the function", true}, answer.function) &&
        std::ranges::find(RECORDED_FUNCTIONS, FUNCTION_NAMES[answer.function]) == RECORDED_FUNCTIONS.end())
        keys.RefuseExpected("function", "a function whose answers can be recorded");
    DescribeAdapterOf(keys, {"adapter", "Identifier of the adapter", true}, topology, answer.adapter);
    DescribeArguments(keys, answer.arguments);
    keys.List({"replies", "The answers in their order, of which the last one stays; {} is the topology's own", true},
              MAX_REPLIES, [&](Keys& entry) {
                  Reply reply;
                  DescribeReply(entry, reply);
                  answer.replies.push_back(std::move(reply));
              });
}

} // namespace sim
