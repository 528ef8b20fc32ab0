// A TCP server for one client at a time, with a thread that accepts and reads. All servers of the
// program, those of the control connection, a UART and the debugger, derive from it.
// The thread never lets an exception out: what ends it is logged, and ends the run with exit
// code 1.
#pragma once

#include <sys/select.h>
#include <sys/time.h>

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <string_view>
#include <thread>

#include "runner/orvo_signals.h"

namespace orvo {

class TcpServer {
 public:
  // How long a client may leave a full buffer unread, in time of the host.
  static constexpr std::chrono::seconds kPatience{30};

  // Stops with the run: listens to the termination channel.
  explicit TcpServer(std::chrono::milliseconds patience = kPatience);
  TcpServer(const TcpServer&) = delete;
  TcpServer& operator=(const TcpServer&) = delete;
  // Derived classes call Join() in their own destructors, before what ClientHandler() uses is gone.
  virtual ~TcpServer();

  // Serves one client, on the server's thread, until it leaves or the server stops.
  virtual void ClientHandler() = 0;

  // Listens on the address of --listen; port 0 takes a free one. Both return the port. Throws
  // UserError if the port is taken or can't be had, and OrvoError for any other failure.
  unsigned short CreateSocket(unsigned short port);
  unsigned short StartServer(unsigned short port);
  // Ends all waits soon. Any thread.
  void Stop() { running_.store(false); }
  bool IsRunning() const { return running_.load(std::memory_order_relaxed); }
  // Stops, waits for the thread and closes the client's socket.
  void Join();

  // Whether somebody hears what is sent. Any thread.
  bool HasClient() const { return client_socket_.load(std::memory_order_relaxed) != 0; }

  // Reads until n bytes are there, with more in reserve. Returns n, 0 for no bytes or a stopped
  // server, -1 for a client that has left. Server's thread.
  long ReadExactAmount(void* buffer, unsigned long n);
  // One read of at most n bytes, once there is something. Returns its length, or as above. A server
  // uses this or ReadExactAmount(). Throws OrvoError if the wait fails.
  long Read(void* buffer, unsigned long n);
  // Writes all bytes, or as many as a client takes that leaves meanwhile. What the client hasn't
  // read yet stands in the buffers of its socket; when they are full this waits, and a client that
  // takes nothing for the time of patience is dropped with a warning. Packets of several threads
  // don't mix. Any thread.
  void SendPacket(const char* data, long n);

 protected:
  // Arms the set with the client socket and a time-out of 1000 microseconds. Throws OrvoError for
  // null.
  void SetSelectParams(fd_set* set, timeval* timeout);
  // Number of the client that is being read from, counted from 1; 0 when there is none. Any thread.
  unsigned ServedClient() const { return served_client_.load(); }

 private:
  void StartAccepting();
  void AcceptClients();
  void ServeClient(int socket);
  void CloseClient();
  void DropClient();  // socket_mutex_ held
  // Nothing to do here: SIGPIPE is ignored by the whole process, and no send asks for it.
  void DisableSIGPIPE() {}

  const std::chrono::milliseconds patience_;
  // Where to send, 0 when nobody hears it. A client that has closed only its own side still does.
  std::atomic<int> client_socket_{0};
  std::atomic<bool> running_{true};
  bool closed_by_peer_ = false;  // server's thread
  // Server's thread: what was read from the client beyond what ReadExactAmount() has given out.
  std::array<char, 16384> block_;
  std::string_view received_;
  int listening_socket_ = -1;
  std::thread accepting_;
  // The client's socket for as long as it is open, otherwise 0. Server's thread, and Join().
  int open_socket_ = 0;
  unsigned client_count_ = 0;
  std::atomic<unsigned> served_client_{0};
  // Held while a socket is written to, closed, or shut down from another thread.
  std::mutex socket_mutex_;
  Connection<int> terminate_connection_;
};

}  // namespace orvo
