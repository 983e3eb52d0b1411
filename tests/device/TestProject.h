#pragma once

// Projects for device-window tests, stated in a few lines: value boxes and
// requests go into a project file written to a fresh temporary folder, from
// which a window loads it the way the program does.

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "../app/SessionTestSupport.h"
#include "device/frmQuorvel.h"
#include "project/ProjectFile.h"
#include "project/ProjectRecords.h"
#include "project/ProjectWriter.h"

namespace quorvel::testing {

// A value box bound to address code `address`.
inline ElementRecord Box(std::uint32_t address, double defaultValue = 0, std::string format = "") {
  ElementRecord r;
  r.CtrlName = "TBox";
  r.Address = address;
  r.DefaultValue = defaultValue;
  r.k = 1;
  r.FormatString = std::move(format);
  return r;
}

// A value box whose emulated value moves through three values over `period` ms.
inline ElementRecord Moving(std::uint32_t address, double d, double v1, double v2, std::int32_t period) {
  ElementRecord r = Box(address, d);
  r.Value1 = v1;
  r.Value2 = v2;
  r.Period = period;
  return r;
}

// A periodic read (functions 1 to 4).
inline RequestRecord Read(std::int32_t func, std::int32_t addr, std::int32_t qnt, std::int32_t period = 1000) {
  RequestRecord r;
  r.Func = func;
  r.ReadAddr = addr;
  r.ReadQnt = qnt;
  r.Period = period;
  return r;
}

// A one-shot write of one register (function 6).
inline RequestRecord WriteOne(std::int32_t addr, std::uint16_t value, std::string label = "") {
  RequestRecord r;
  r.Func = 6;
  r.WriteAddr = addr;
  r.WriteQnt = 1;
  r.Control = 1;
  r.Data = {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value & 0xFF)};
  r.Label = std::move(label);
  return r;
}

struct TestProject {
  // The file is named for it, so it is also the window's project title.
  std::string name = "Test";
  std::int32_t timeout = 5;
  std::int32_t interval = 0;
  std::int16_t exeptions = 0;
  std::int16_t directWrite = 0;
  std::vector<ElementRecord> elements;
  std::vector<RequestRecord> requests;

  ProjectFile File() const {
    ProjectFile f;
    f.Header = "DraventaFabricant test\r\n";
    f.Setting1 = 1000;
    f.Timeout = timeout;
    f.Interval = interval;
    f.Exeptions = exeptions;
    f.DirectWrite = directWrite;
    f.Elements = elements;
    f.Requests = requests;
    f.Sections = SectionsFor(f);
    return f;
  }
};

// The project written as "<name>.qvc" into a temporary folder that goes away
// with this object.
class ProjectOnDisk {
 public:
  explicit ProjectOnDisk(const TestProject& project) : path_(folder_.Make(project.name + ".qvc")) {
    std::string error;
    if (!SaveProjectBytes(path_, WriteProject(project.File()), error)) throw std::runtime_error(error);
  }

  const std::string& path() const { return path_; }

 private:
  TempDir folder_;
  std::string path_;
};

// Loads the project into the window; a project that does not load is a broken test.
inline void Load(frmQuorvel& window, const TestProject& project) {
  const ProjectOnDisk file(project);
  if (!window.SetProjectFile(file.path())) throw std::runtime_error("test project did not load");
}

// A window of its own on `host` with the project loaded.
inline std::unique_ptr<frmQuorvel> Loaded(DeviceHost& host, const TestProject& project) {
  auto window = std::make_unique<frmQuorvel>(host);
  Load(*window, project);
  return window;
}

// The element bound to the whole address code `address`, in whichever table holds it.
inline std::shared_ptr<CtrlProp> ElementAt(const frmQuorvel& window, std::uint32_t address) {
  for (Table table : {Table::Holding, Table::Coil, Table::InputReg, Table::Discrete})
    for (const FiledElement& filed : window.ElementsOf(table))
      if (filed.element->Address() == address) return filed.element;
  throw std::out_of_range("no element at this address");
}

}  // namespace quorvel::testing
