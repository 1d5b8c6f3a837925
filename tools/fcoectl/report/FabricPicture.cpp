#include "tools/fcoectl/report/FabricPicture.h"

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include <fmt/format.h>

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

class Picture {
  public:
    explicit Picture(const Json& problems) : m_problems(problems) {}

    Json Adapter(const Json& adapter) {
        Json children = Boxes(adapter, "fabrics", &Picture::Fabric);
        const Json& lost = adapter["without_parent"];
        Json strays = Boxes(lost, "ports", &Picture::Port);
        Append(strays, Boxes(lost, "targets", &Picture::Target));
        Append(strays, Boxes(lost, "luns", &Picture::Lun));
        if (!strays.empty())
            children.push_back(Box("", "fabric-node", "Without a parent in the lists", {}, std::move(strays)));
        Json box = Box("adapter", "adapter", Text(adapter, "second_id"),
                       {Text(adapter, "port_wwn"), Text(adapter, "port_speed"), Text(adapter, "fcoe_link_status")},
                       std::move(children));
        const std::string id = Text(adapter, "device_id");
        for (const Json& problem : m_problems)
            if (const std::string concerned = problem.value("adapter", ""); concerned.empty() || concerned == id)
                box["troubled"] = true;
        if (box["title"] == "")
            box["title"] = "Adapter that could not be read";
        return box;
    }

    Json Counts() const {
        Json counts = Json::array();
        for (const auto& [kind, one, several] : {std::tuple{"adapter", "adapter", "adapters"},
                                                 {"fabric", "fabric", "fabrics"},
                                                 {"port", "port", "ports"},
                                                 {"target", "target", "targets"},
                                                 {"lun", "LUN", "LUNs"}}) {
            const auto found = m_counts.find(kind);
            const std::size_t count = found == m_counts.end() ? 0 : found->second;
            counts.push_back({{"name", count == 1 ? one : several}, {"count", count}, {"bad", false}});
        }
        return counts;
    }

  private:
    static std::string Text(const Json& object, const char* key) { return object.value(key, ""); }

    static void Append(Json& list, Json&& more) {
        for (Json& element : more)
            list.push_back(std::move(element));
    }

    // Every member is there in every box: the template would else take that of the box around it.
    Json Box(const char* kind, const char* style, const std::string& title, const std::vector<std::string>& lines,
             Json&& children) {
        ++m_counts[kind];
        Json box{{"kind", kind}, {"class", style}, {"title", title}, {"lines", Json::array()}, {"troubled", false}};
        for (const std::string& line : lines)
            if (!line.empty())
                box["lines"].push_back(line);
        box["has_children"] = !children.empty();
        box["children"] = std::move(children);
        return box;
    }

    Json Boxes(const Json& parent, const char* key, Json (Picture::*draw)(const Json&)) {
        Json boxes = Json::array();
        for (const Json& element : parent[key])
            boxes.push_back((this->*draw)(element));
        return boxes;
    }

    Json Fabric(const Json& fabric) {
        const std::string name = Text(fabric, "name");
        return Box("fabric", "fabric-node", name.empty() ? "Fabric without a name" : name, {Text(fabric, "kind")},
                   Boxes(fabric, "ports", &Picture::Port));
    }

    Json Port(const Json& port) {
        return Box("port", "port", Text(port, "kind"), {Text(port, "port_wwn")},
                   Boxes(port, "targets", &Picture::Target));
    }

    Json Target(const Json& target) {
        const std::string vendor = Text(target, "vendor");
        return Box("target", "target", "Target",
                   {Text(target, "port_wwn"), vendor + (vendor.empty() ? "" : " ") + Text(target, "serial")},
                   Boxes(target, "luns", &Picture::Lun));
    }

    Json Lun(const Json& lun) {
        return Box("lun", "lun", fmt::format("LUN {}  {}", lun.value("os_lun", 0), Text(lun, "capacity")),
                   {Text(lun, "os_device_name")}, Json::array());
    }

    const Json& m_problems;
    std::map<std::string, std::size_t> m_counts;
};

} // namespace

FabricPicture DrawFabric(const Json& adapters, const Json& problems) {
    Picture picture(problems);
    Json boxes = Json::array();
    for (const Json& adapter : adapters)
        boxes.push_back(picture.Adapter(adapter));
    return {std::move(boxes), picture.Counts()};
}

} // namespace fcoectl
