#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace brio::test {

/// Stands between the library and the server on a Unix socket of its own, passes everything on, and on demand
/// cuts a connection in the middle of an answer or leaves new ones without one.
class CuttingProxy {
public:
  explicit CuttingProxy(const std::string& serverSocketFolder);
  ~CuttingProxy();
  CuttingProxy(const CuttingProxy&) = delete;
  CuttingProxy& operator=(const CuttingProxy&) = delete;

  /// The folder of its own socket.
  const std::string& SocketFolder() const { return folder_; }
  /// Bytes that the server has sent through it so far.
  long BytesFromServer() const { return bytesFromServer_; }
  /// Cuts, once, the connection on which the server sends the byte after this many more.
  void CutAfter(long bytes) { bytesLeft_ = bytes; }
  /// While silent it accepts new connections and answers nothing on them; those made before work on.
  void SetSilent(bool silent) { silent_ = silent; }

private:
  void Serve(int listening, const std::string& serverSocket);
  bool PassOn(int from, int to, bool fromServer);

  std::string folder_;
  std::atomic<long> bytesFromServer_{0};
  std::atomic<long> bytesLeft_{-1};
  std::atomic<bool> silent_{false};
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace brio::test
