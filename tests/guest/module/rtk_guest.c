// SPDX-License-Identifier: GPL-2.0
/*
 * Hardware for the guest: a GPIO chip of 32 lines and an I2C adapter, with faults on demand.
 *
 * GPIO: gpiochip1 (numbers 32..63), behind the board's own gpiochip0. An input shows what was last written to it; line 3
 * is held high from outside, line 7 cannot be read, line 9 takes no direction.
 * I2C: slaves 0x50 (16-bit register address), 0x48 (8-bit) and 0x51 (8-bit, claimed by a kernel driver).
 */
#include <linux/gpio/driver.h>
#include <linux/i2c.h>
#include <linux/module.h>
#include <linux/platform_device.h>

static int stop_after = -1;
module_param(stop_after, int, 0644);
MODULE_PARM_DESC(stop_after, "messages of a transfer that go through, 0: the bus times out, -1: all");

static struct platform_device *board;

/* ---- GPIO ---- */

enum { LINE_HIGH = 3, LINE_UNREADABLE = 7, LINE_FIXED = 9, LINES = 32 };

static u32 levels = BIT(LINE_HIGH);

static int chip_get(struct gpio_chip *gpio, unsigned int line)
{
	return line == LINE_UNREADABLE ? -EIO : !!(levels & BIT(line));
}

static void chip_set(struct gpio_chip *gpio, unsigned int line, int value)
{
	levels = value ? levels | BIT(line) : levels & ~BIT(line);
}

static int chip_input(struct gpio_chip *gpio, unsigned int line)
{
	return line == LINE_FIXED ? -EIO : 0;
}

static int chip_output(struct gpio_chip *gpio, unsigned int line, int value)
{
	if (line == LINE_FIXED)
		return -EIO;
	chip_set(gpio, line, value);
	return 0;
}

static struct gpio_chip chip = {
	.label = "rtk guest",
	.owner = THIS_MODULE,
	.base = LINES,
	.ngpio = LINES,
	.get = chip_get,
	.set = chip_set,
	.direction_input = chip_input,
	.direction_output = chip_output,
};

/* ---- I2C ---- */

struct slave {
	u16 address;
	u16 register_bytes;
	u32 position;
	u8 memory[65536];
};

static struct slave slaves[] = { { 0x50, 2 }, { 0x48, 1 }, { 0x51, 1 } };

static struct slave *slave_at(u16 address)
{
	int i;

	for (i = 0; i < ARRAY_SIZE(slaves); i++)
		if (slaves[i].address == address)
			return &slaves[i];
	return NULL;
}

/* A write begins with the register address; a read goes on from there. */
static void serve(struct slave *slave, struct i2c_msg *message)
{
	const u32 end = slave->register_bytes == 2 ? 0xFFFF : 0xFF;
	int i;

	for (i = 0; i < message->len; i++) {
		if (message->flags & I2C_M_RD) {
			message->buf[i] = slave->memory[slave->position & end];
			slave->position++;
		} else if (i < slave->register_bytes) {
			slave->position = (i ? slave->position << 8 : 0) | message->buf[i];
		} else {
			slave->memory[slave->position & end] = message->buf[i];
			slave->position++;
		}
	}
}

static int transfer(struct i2c_adapter *adapter, struct i2c_msg *messages, int count)
{
	int i;

	if (!stop_after)
		return -ETIMEDOUT;
	for (i = 0; i < count && i != stop_after; i++) {
		struct slave *slave = slave_at(messages[i].addr);

		if (!slave)
			return -ENXIO;
		serve(slave, &messages[i]);
	}
	return i;
}

static u32 functionality(struct i2c_adapter *adapter)
{
	return I2C_FUNC_I2C;
}

static const struct i2c_algorithm algorithm = { .master_xfer = transfer, .functionality = functionality };

static struct i2c_adapter adapter = {
	.owner = THIS_MODULE,
	.name = "rtk guest",
	.algo = &algorithm,
};

/* ---- loading; the guest never unloads it ---- */

static int __init guest_init(void)
{
	int error;

	board = platform_device_register_simple("rtk_guest", -1, NULL, 0);
	if (IS_ERR(board))
		return PTR_ERR(board);
	chip.parent = &board->dev;
	error = gpiochip_add_data(&chip, NULL);
	if (!error)
		error = i2c_add_adapter(&adapter);
	return error ? error : PTR_ERR_OR_ZERO(i2c_new_dummy_device(&adapter, 0x51));
}

module_init(guest_init);
MODULE_LICENSE("GPL");
MODULE_DESCRIPTION("GPIO and I2C of the test guest");
