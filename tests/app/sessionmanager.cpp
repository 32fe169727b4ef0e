#include <X11/SM/SMlib.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include <poll.h>

// Manages the session of one program: it says its address and what the program did, and takes
// "checkpoint" and "die" from its input.

static SmsConn s_client = nullptr;

static void say(const char *kind, const char *news = "")
{
    std::printf("%s%s\n", kind, news);
    std::fflush(stdout);
}

static Status registerClient(SmsConn client, SmPointer, char *previous)
{
    if (previous)
        return 0; // from a session before this one
    SmsRegisterClientReply(client, SmsGenerateClientID(client));
    s_client = client;
    return 1;
}

static Status newClient(SmsConn, SmPointer, unsigned long *mask, SmsCallbacks *calls, char **)
{
    calls->register_client.callback = registerClient;
    calls->save_yourself_done.callback = [](SmsConn client, SmPointer, Bool) {
        SmsSaveComplete(client);
        say("saved");
    };
    calls->close_connection.callback = [](SmsConn, SmPointer, int, char **) {};
    calls->set_properties.callback = [](SmsConn, SmPointer, int, SmProp **) {};
    calls->delete_properties.callback = [](SmsConn, SmPointer, int, char **) {};
    *mask = SmsRegisterClientProcMask | SmsSaveYourselfDoneProcMask | SmsCloseConnectionProcMask |
            SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask;
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
        say("error ", error);
        return 1;
    }
    std::vector<pollfd> files = {{0, POLLIN, 0}};
    for (int i = 0; i < count; ++i) {
        IceSetHostBasedAuthProc(listeners[i], everybody);
        files.push_back({IceGetListenConnectionNumber(listeners[i]), POLLIN, 0});
    }
    say("address ", IceComposeNetworkIdList(count, listeners));

    IceConn program = nullptr;
    while (poll(files.data(), files.size(), -1) > 0) {
        for (size_t i = files.size(); --i > 0;) {
            if (files[i].revents == 0)
                continue;
            IceAcceptStatus status = IceAcceptFailure;
            if (!program) {
                program = IceAcceptConnection(listeners[i - 1], &status);
                files = {files.front(), {IceConnectionNumber(program), POLLIN, 0}};
            } else if (IceProcessMessages(program, nullptr, nullptr) != IceProcessMessagesSuccess) {
                return 0;
            }
        }
        char order[32] = "";
        if (files[0].revents == 0)
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
