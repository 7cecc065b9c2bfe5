#pragma once
// One line of a profile: a wildcard selection of trace points (or signals) and the instances
// it holds for.

#include <string>

namespace kvntrace {

class Probe {
 public:
  Probe(std::string tracePoint, std::string instance)
      : m_tracePoint(std::move(tracePoint)), m_instance(std::move(instance)) {}
  virtual bool isTraceProbe() const = 0;
  virtual ~Probe() = default;

  const std::string& getTracePoint() const { return m_tracePoint; }
  const std::string& getInstance() const { return m_instance; }

 protected:
  Probe(const Probe&) = default;
  Probe& operator=(const Probe&) = default;

  std::string m_tracePoint;
  std::string m_instance;
};

}  // namespace kvntrace
