// The JSON listener's property file and services entry.
#include <string>

#include "environment/environment_fixture.hpp"
#include "platform/platform.hpp"

namespace dpl::test {
namespace {

class JsonListener : public EnvironmentTest {
protected:
    void SetUp() override {
        EnvironmentTest::SetUp();
        open();
        // A services database of the test's own, so the entry is not the system's.
        write_file(services, "svc_a 9001/tcp\n");
        dplServicesFree(block);
        ASSERT_EQ(0, dplServicesLoad(block, services.c_str()));
    }
    std::string properties() const { return read_file_text(in_dir("etc/jsonListener.properties")); }
    const std::string services = root.file("services.test");
};

TEST_F(JsonListener, PropertyFileAndServicesEntryOfAFreePort) {
    set_instance();
    const uint32_t onsoctcp = dplMapStringtoProtocol("onsoctcp");
    const uint32_t onsocssl = dplMapStringtoProtocol("onsocssl");
    block->current->connections.append_connection("ol_remote", onsoctcp, 9087, "9087", "10.0.0.1", nullptr);
    block->current->connections.append_connection("ol_group", DPL_PROTOCOL_GROUP, 0, "-", "127.0.0.1",
                                                  nullptr);
    block->current->connections.append_connection("ol_local", onsocssl, 9088, "9088", "127.0.0.1", nullptr);
    block->current->connections.append_connection("ol_later", onsoctcp, 9089, "9089", "127.0.0.1", nullptr);

    ASSERT_EQ(0, dplDeployJsonListenerFile(block));
    const int16_t listed = dplServicesGetPortFromName(block, "ol_test_json", "tcp");
    const auto port = static_cast<uint16_t>(listed);
    ASSERT_NE(0, port);
    EXPECT_EQ("listener.port=" + std::to_string(port) +
                  "\nurl=jdbc:orvandex-sqli://localhost:9088/sysmaster:ORVANDEXSERVER=ol_local\n",
              properties());
    // The port is really free: a socket binds to it.
    uint32_t error = 0;
    EXPECT_EQ(platform::PortProbe::Clear, platform::current().probe_tcp_port(port, &error));
    EXPECT_EQ(1, dplServicesTestName(block, "ol_test_json", "tcp"));
}

TEST_F(JsonListener, WithoutALoopbackConnection) {
    set_instance();
    ASSERT_EQ(0, dplDeployJsonListenerFile(block));
    const auto port = static_cast<uint16_t>(dplServicesGetPortFromName(block, "ol_test_json", "tcp"));
    ASSERT_NE(0, port);
    EXPECT_EQ("listener.port=" + std::to_string(port) +
                  "\nurl=jdbc:orvandex-sqli://localhost:0/sysmaster:ORVANDEXSERVER=\n",
              properties());
}

TEST_F(JsonListener, RefusedCalls) {
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplDeployJsonListenerFile(nullptr));
    set("ORVANDEXSERVER", "ol_test");
    EXPECT_EQ(DPL_E_FAIL, dplDeployJsonListenerFile(block));  // no ORVANDEXDIR
    set("ORVANDEXDIR", in_dir("missing"));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplDeployJsonListenerFile(block));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "ol_test_json", "tcp"));
}

}  // namespace
}  // namespace dpl::test
