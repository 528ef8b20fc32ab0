"""A test that plays both ends of an I2C bus."""

BOARD = """{"components": [
    {"class": "I2cMasterSdk", "name": "host", "type": "Peripheral", "pins": {"sda": "P0_26"}},
    {"class": "I2cSlaveSdk", "name": "device", "type": "Peripheral", "pins": {"sda": "P0_28"}}]}"""


def test_the_test_is_the_master_of_twis_and_a_device_of_twim(start):
    board = start("twi_client", BOARD)
    got = []

    def answer(event):
        got.append(event["event_type"])
        if event["event_type"] == "on_read":
            return {"ack": True, "response": 0xC0 + event["read_index"]}
        if event["event_type"] == "on_write":
            return {"ack": event["data"] != ord("b")}

    board.on_i2c(answer)
    board.run_for(us=100)
    host = board.device("host")
    host.command("master_set_frequency", i2c_frequency=100_000)
    board.device("device").command("set_device_address", device_address=0x42)
    host.command("master_write", address=0x29, data=[104, 105])
    board.expect_uart("got hi, 2 bytes")
    host.command("master_read", address=0x29, num_bytes_to_read=3)
    board.expect_uart("device gives c0 c1")
    assert got[:2] == ["master_write_finished", "master_read_finished"]
    assert got[2:] == 3 * ["on_write"] + ["on_stop_write"] + 2 * ["on_read"] + ["on_stop_read"]
