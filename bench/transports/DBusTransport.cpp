// Method calls over a bus of its own, by the reference library: with an answer, or without one for what goes one way.
#include "Transports.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <dbus/dbus.h>
#include <string>
#include <unistd.h>

namespace Mrv::Bench
{
namespace
{
constexpr const char *NAME = "net.morvane.bench";
constexpr const char *PATH = "/bench";
constexpr const char *PING = "Ping";
constexpr const char *TAKE = "Take";

DBusConnection *connectTo(const std::string &address)
{
	DBusConnection *const connection = dbus_connection_open_private(address.c_str(), nullptr);
	if (connection)
	{
		dbus_bus_register(connection, nullptr);
		dbus_connection_set_exit_on_disconnect(connection, FALSE);
	}
	return connection;
}

class DBusTransport final : public ITransport
{
public:
	DBusTransport()
	{
		std::FILE *const daemon = ::popen("dbus-daemon --session --fork --print-address=1 --print-pid=1", "r");
		std::array<char, 1024> line{};
		if (std::fgets(line.data(), line.size(), daemon))
		{
			fAddress = line.data();
			fAddress.pop_back();
		}
		if (std::fgets(line.data(), line.size(), daemon))
		{
			fDaemon = std::atoi(line.data());
		}
		::pclose(daemon);
		fPeer = startPeer([this] { serve(fAddress); });
		fConnection = connectTo(fAddress);
		while (!dbus_bus_name_has_owner(fConnection, NAME, nullptr))
		{
			::usleep(1000);
		}
		ping();
	}
	DBusTransport(const DBusTransport &) = delete;
	DBusTransport &operator=(const DBusTransport &) = delete;
	~DBusTransport() override
	{
		endPeer(fPeer);
		dbus_connection_close(fConnection);
		dbus_connection_unref(fConnection);
		if (fDaemon > 0)
		{
			::kill(fDaemon, SIGTERM);
		}
	}

	const char *getName() const override { return "D-Bus"; }
	void ping() override
	{
		DBusMessage *const message = dbus_message_new_method_call(NAME, PATH, NAME, PING);
		DBusMessage *const reply = dbus_connection_send_with_reply_and_block(fConnection, message, DBUS_TIMEOUT_INFINITE, nullptr);
		dbus_message_unref(message);
		if (reply)
		{
			dbus_message_unref(reply);
		}
	}
	void send(const std::string &payload) override
	{
		DBusMessage *const message = dbus_message_new_method_call(NAME, PATH, NAME, TAKE);
		dbus_message_set_no_reply(message, TRUE);
		const char *const bytes = payload.data();
		dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, static_cast<int>(payload.size()), DBUS_TYPE_INVALID);
		dbus_connection_send(fConnection, message, nullptr);
		dbus_message_unref(message);
		if (dbus_connection_get_outgoing_size(fConnection) > (1 << 20))
		{
			dbus_connection_flush(fConnection);
		}
	}
	int getPeer() const override { return fPeer; }

private:
	static void serve(const std::string &address)
	{
		DBusConnection *const connection = connectTo(address);
		dbus_bus_request_name(connection, NAME, 0, nullptr);
		while (dbus_connection_read_write(connection, -1))
		{
			while (DBusMessage *const message = dbus_connection_pop_message(connection))
			{
				if (dbus_message_is_method_call(message, NAME, PING))
				{
					DBusMessage *const reply = dbus_message_new_method_return(message);
					dbus_connection_send(connection, reply, nullptr);
					dbus_message_unref(reply);
				}
				dbus_message_unref(message);
			}
		}
	}

	std::string fAddress;
	int fDaemon = 0;
	int fPeer = 0;
	DBusConnection *fConnection = nullptr;
};
}

std::unique_ptr<ITransport> makeDBus()
{
	return std::make_unique<DBusTransport>();
}
}
