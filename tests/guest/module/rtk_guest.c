// SPDX-License-Identifier: GPL-2.0
/*
 * Hardware for the guest: two GPIO chips of 32 lines and one I2C adapter, with faults on demand.
 *
 * GPIO: gpiochip1 (numbers 32..63) and gpiochip2 (64..95), behind the board's own gpiochip0. An input shows what was
 * last written to it. Line 7 of each cannot be read, line 9 takes no direction.
 * I2C: slaves 0x50 (16-bit register address), 0x48 (8-bit) and 0x51 (8-bit, claimed by a kernel driver).
 */
#include <linux/gpio/driver.h>
#include <linux/i2c.h>
#include <linux/module.h>
#include <linux/platform_device.h>

static int stop_after = -1;
module_param(stop_after, int, 0644);
MODULE_PARM_DESC(stop_after, "messages of a transfer that go through, -1: all");

static int fail_with;
module_param(fail_with, int, 0644);
MODULE_PARM_DESC(fail_with, "errno of every transfer, 0: none");

static struct platform_device *board;

/* ---- GPIO ---- */

enum { LINE_UNREADABLE = 7, LINE_FIXED = 9, LINES = 32 };

struct chip {
	struct gpio_chip gpio;
	u32 levels;
	u32 outputs;
	bool plugged;
};

static struct chip chips[2];

static int chip_get(struct gpio_chip *gpio, unsigned int line)
{
	struct chip *chip = gpiochip_get_data(gpio);

	return line == LINE_UNREADABLE ? -EIO : !!(chip->levels & BIT(line));
}

static void chip_set(struct gpio_chip *gpio, unsigned int line, int value)
{
	struct chip *chip = gpiochip_get_data(gpio);

	chip->levels = value ? chip->levels | BIT(line) : chip->levels & ~BIT(line);
}

static int chip_get_direction(struct gpio_chip *gpio, unsigned int line)
{
	struct chip *chip = gpiochip_get_data(gpio);

	return chip->outputs & BIT(line) ? GPIO_LINE_DIRECTION_OUT : GPIO_LINE_DIRECTION_IN;
}

static int chip_input(struct gpio_chip *gpio, unsigned int line)
{
	struct chip *chip = gpiochip_get_data(gpio);

	if (line == LINE_FIXED)
		return -EIO;
	chip->outputs &= ~BIT(line);
	return 0;
}

static int chip_output(struct gpio_chip *gpio, unsigned int line, int value)
{
	struct chip *chip = gpiochip_get_data(gpio);

	if (line == LINE_FIXED)
		return -EIO;
	chip->outputs |= BIT(line);
	chip_set(gpio, line, value);
	return 0;
}

static int chip_add(struct chip *chip, const char *label, int base)
{
	int error;

	chip->gpio.label = label;
	chip->gpio.parent = &board->dev;
	chip->gpio.owner = THIS_MODULE;
	chip->gpio.base = base;
	chip->gpio.ngpio = LINES;
	chip->gpio.get = chip_get;
	chip->gpio.set = chip_set;
	chip->gpio.get_direction = chip_get_direction;
	chip->gpio.direction_input = chip_input;
	chip->gpio.direction_output = chip_output;
	error = gpiochip_add_data(&chip->gpio, chip);
	chip->plugged = !error;
	return error;
}

static void chip_remove(struct chip *chip)
{
	if (chip->plugged)
		gpiochip_remove(&chip->gpio);
	chip->plugged = false;
}

/* Writing a chip's index, 0 or 1, takes the chip away as if it were pulled out. */
static int unplug(const char *text, const struct kernel_param *param)
{
	unsigned int index;
	int error = kstrtouint(text, 0, &index);

	if (error || index >= ARRAY_SIZE(chips))
		return -EINVAL;
	chip_remove(&chips[index]);
	return 0;
}

static const struct kernel_param_ops unplug_ops = { .set = unplug };
module_param_cb(unplug, &unplug_ops, NULL, 0200);

/* ---- I2C ---- */

struct slave {
	u16 address;
	u16 register_bytes;
	u32 position;
	u8 memory[65536];
};

static struct slave slaves[] = { { 0x50, 2 }, { 0x48, 1 }, { 0x51, 1 } };
static struct i2c_client *claimed;

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

	if (fail_with)
		return -fail_with;
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

/* ---- coming and going ---- */

static void remove_all(void)
{
	if (!IS_ERR_OR_NULL(claimed))
		i2c_unregister_device(claimed);
	i2c_del_adapter(&adapter);
	chip_remove(&chips[1]);
	chip_remove(&chips[0]);
	platform_device_unregister(board);
}

static int __init guest_init(void)
{
	int error;

	board = platform_device_register_simple("rtk_guest", -1, NULL, 0);
	if (IS_ERR(board))
		return PTR_ERR(board);
	error = chip_add(&chips[0], "rtk-bank1", LINES);
	if (!error)
		error = chip_add(&chips[1], "rtk-bank2", 2 * LINES);
	if (!error)
		error = i2c_add_adapter(&adapter);
	if (error) {
		chip_remove(&chips[1]);
		chip_remove(&chips[0]);
		platform_device_unregister(board);
		return error;
	}
	claimed = i2c_new_dummy_device(&adapter, 0x51);
	if (IS_ERR(claimed)) {
		error = PTR_ERR(claimed);
		remove_all();
	}
	return error;
}

static void __exit guest_exit(void)
{
	remove_all();
}

module_init(guest_init);
module_exit(guest_exit);
MODULE_LICENSE("GPL");
MODULE_DESCRIPTION("GPIO and I2C of the test guest");
