#include <X11/SM/SMlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <poll.h>

// A manager of sessions that do what they are told: it says its address and what its client did,
// and takes "checkpoint" and "die" from its input.

static SmsConn s_client = nullptr;

static void say(const char *news)
{
    std::printf("%s\n", news);
    std::fflush(stdout);
}

static Status registerClient(SmsConn client, SmPointer, char *previous)
{
    if (previous)
        return 0; // from a session before this one
    char *id = SmsGenerateClientID(client);
    SmsRegisterClientReply(client, id);
    std::free(id);
    s_client = client;
    say("client");
    return 1;
}

static Status newClient(SmsConn, SmPointer, unsigned long *mask, SmsCallbacks *calls, char **)
{
    std::memset(calls, 0, sizeof *calls);
    calls->register_client.callback = registerClient;
    calls->interact_request.callback = [](SmsConn, SmPointer, int) {};
    calls->interact_done.callback = [](SmsConn, SmPointer, Bool) {};
    calls->save_yourself_request.callback = [](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {};
    calls->save_yourself_phase2_request.callback = [](SmsConn client, SmPointer) {
        SmsSaveYourselfPhase2(client);
    };
    calls->save_yourself_done.callback = [](SmsConn client, SmPointer, Bool) {
        SmsSaveComplete(client);
        say("saved");
    };
    calls->close_connection.callback = [](SmsConn, SmPointer, int, char **) { say("closed"); };
    calls->set_properties.callback = [](SmsConn, SmPointer, int, SmProp **) {};
    calls->delete_properties.callback = [](SmsConn, SmPointer, int, char **) {};
    calls->get_properties.callback = [](SmsConn, SmPointer) {};
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask |
            SmsSaveYourselfDoneProcMask | SmsCloseConnectionProcMask | SmsSetPropertiesProcMask |
            SmsDeletePropertiesProcMask | SmsGetPropertiesProcMask;
    return 1;
}

static Bool everybody(char *)
{
    return True;
}

int main()
{
    char error[256] = "";
    int count = 0;
    IceListenObj *listeners = nullptr;
    if (!SmsInitialize("tests", "1", newClient, nullptr, everybody, sizeof error, error) ||
        !IceListenForConnections(&count, &listeners, sizeof error, error)) {
        std::fprintf(stderr, "%s\n", error);
        return 1;
    }
    IceSetIOErrorHandler([](IceConn) {}); // the other side is gone
    std::vector<pollfd> files = {{0, POLLIN, 0}};
    for (int i = 0; i < count; ++i) {
        IceSetHostBasedAuthProc(listeners[i], everybody);
        files.push_back({IceGetListenConnectionNumber(listeners[i]), POLLIN, 0});
    }
    std::vector<IceConn> connections;
    std::printf("address %s\n", IceComposeNetworkIdList(count, listeners));
    std::fflush(stdout);

    while (poll(files.data(), files.size(), -1) > 0) {
        const std::vector<pollfd> ready = files;
        const size_t first = static_cast<size_t>(count) + 1; // of the connections
        for (size_t i = ready.size(); i-- > first;) {
            if (ready[i].revents != 0 && IceProcessMessages(connections[i - first], nullptr,
                                                            nullptr) != IceProcessMessagesSuccess) {
                connections.erase(connections.begin() + long(i - first));
                files.erase(files.begin() + long(i));
            }
        }
        for (size_t i = 1; i < first; ++i) {
            IceAcceptStatus status = IceAcceptFailure;
            if (ready[i].revents == 0)
                continue;
            if (IceConn connection = IceAcceptConnection(listeners[i - 1], &status)) {
                connections.push_back(connection);
                files.push_back({IceConnectionNumber(connection), POLLIN, 0});
            }
        }
        char order[32] = "";
        if (ready[0].revents == 0)
            continue;
        if (!std::fgets(order, sizeof order, stdin))
            return 0;
        if (s_client && std::strcmp(order, "checkpoint\n") == 0)
            SmsSaveYourself(s_client, SmSaveBoth, False, SmInteractStyleNone, False);
        else if (s_client)
            SmsDie(s_client);
    }
    return 0;
}
